// Qt's own NMEA position plugin reads the bridge's NMEA port (argv[1], its nmea.source): three
// valid updates on the simulator's walk, or a non-zero exit.
#include <QCoreApplication>
#include <QGeoPositionInfoSource>
#include <QTimer>
#include <cmath>
#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QVariantMap parameters{{"nmea.source", app.arguments().value(1)}};
    QGeoPositionInfoSource* source = QGeoPositionInfoSource::createSource("nmea", parameters, &app);
    if (source == nullptr) {
        std::fprintf(stderr, "QtNmeaClient: no nmea plugin\n");
        return 1;
    }
    int fixes = 0;
    QObject::connect(
        source, &QGeoPositionInfoSource::positionUpdated, [&](const QGeoPositionInfo& info) {
            QGeoCoordinate at = info.coordinate();
            if (info.isValid() && std::abs(at.latitude() - 60.167) < 0.01 && ++fixes == 3) {
                app.exit(0);
            }
        });
    QObject::connect(source, &QGeoPositionInfoSource::errorOccurred,
                     [&](QGeoPositionInfoSource::Error error) { app.exit(10 + error); });
    QTimer::singleShot(50000, &app, [&] { app.exit(2); });
    source->startUpdates();
    return app.exec();
}
