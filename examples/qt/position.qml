// The position from the positioning service in a QML scene, through Qt Positioning's
// PositionSource and the plugin "kopa".
import QtQuick
import QtPositioning

Item {
    width: 320
    height: 80

    PositionSource {
        id: source
        objectName: "source"
        name: "kopa"
        updateInterval: 1000
        active: true
        PluginParameter { name: "kopa.timeout"; value: 10000 }

        onSourceErrorChanged: {
            if (sourceError !== PositionSource.NoError)
                console.warn("no position:", backendProperty("kopa.lastError").description)
        }
    }

    Text {
        anchors.centerIn: parent
        text: source.position.coordinate.isValid
              ? source.position.coordinate.toString()
              : "Waiting for a position…"
    }
}
