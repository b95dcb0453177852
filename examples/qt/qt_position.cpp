// One position from the positioning service, through Qt Positioning and its plugin "kopa".
// The program links Qt alone; Qt finds the plugin among its position plugins.
#include <QCoreApplication>
#include <QGeoPositionInfoSource>
#include <QTextStream>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);

    const QVariantMap parameters{{QStringLiteral("kopa.timeout"), 10000}};
    QGeoPositionInfoSource* source =
        QGeoPositionInfoSource::createSource(QStringLiteral("kopa"), parameters, &app);
    if (source == nullptr) {
        QTextStream(stderr) << "the Qt Positioning plugin \"kopa\" is not installed\n";
        return 1;
    }

    QObject::connect(
        source, &QGeoPositionInfoSource::positionUpdated, [](const QGeoPositionInfo& info) {
            QTextStream out(stdout);
            out << info.coordinate().toString(QGeoCoordinate::DegreesWithHemisphere) << " at "
                << info.timestamp().toString(Qt::ISODateWithMs);
            if (info.hasAttribute(QGeoPositionInfo::HorizontalAccuracy)) {
                out << ", within " << info.attribute(QGeoPositionInfo::HorizontalAccuracy) << " m";
            }
            out << '\n';
            QCoreApplication::exit(0);
        });
    QObject::connect(source, &QGeoPositionInfoSource::errorOccurred,
                     [source](QGeoPositionInfoSource::Error error) {
                         // The plugin keeps the library's result code and its cause.
                         const QVariantMap detail =
                             source->backendProperty(QStringLiteral("kopa.lastError")).toMap();
                         QTextStream(stderr)
                             << "no position (Qt error " << error
                             << "): " << detail.value(QStringLiteral("description")).toString()
                             << '\n';
                         QCoreApplication::exit(1);
                     });

    source->requestUpdate();
    return app.exec();
}
