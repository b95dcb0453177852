// The QML example: a PositionSource named "kopa" in a scene loaded headless.
#include <QGeoPositionInfo>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>
#include <memory>

#include "SimControl.h"

class KopaQmlTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void thePositionSourceOfTheExampleGetsTheServicePosition() {
        SimControl sim;
        sim.loadScenario("position 60.1699 24.9384 12\n");
        const QString file =
            qEnvironmentVariable("KOPA_SOURCE_DIR") + QStringLiteral("/examples/qt/position.qml");
        QQmlEngine engine;
        QQmlComponent component(&engine, QUrl::fromLocalFile(file));
        std::unique_ptr<QObject> scene(component.create());
        QVERIFY2(scene, qPrintable(component.errorString()));
        QObject* source = scene->findChild<QObject*>(QStringLiteral("source"));
        QVERIFY(source);
        QCOMPARE(source->property("name").toString(), QStringLiteral("kopa"));
        const auto coordinate = [source] {
            QObject* position = source->property("position").value<QObject*>();
            return position ? position->property("coordinate").value<QGeoCoordinate>()
                            : QGeoCoordinate();
        };
        QTRY_VERIFY_WITH_TIMEOUT(coordinate().isValid(), 10000);
        QCOMPARE(coordinate(), QGeoCoordinate(60.1699, 24.9384));
        // Deactivated and destroyed with the scene: the regular updates end with it.
        scene.reset();
    }
};

QTEST_MAIN(KopaQmlTest)
#include "KopaQmlTest.moc"
