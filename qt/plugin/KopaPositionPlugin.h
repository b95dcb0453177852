#ifndef KOPA_POSITION_PLUGIN_H
#define KOPA_POSITION_PLUGIN_H

#include <QGeoPositionInfoSourceFactory>
#include <QObject>

// The factory Qt Positioning loads for the provider name "kopa". Only position sources:
// the positioning service reports no satellites and has no area monitoring.
class KopaPositionPlugin : public QObject, public QGeoPositionInfoSourceFactory {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.qt-project.qt.position.sourcefactory/6.0" FILE "kopa.json")
    Q_INTERFACES(QGeoPositionInfoSourceFactory)

  public:
    QGeoPositionInfoSource* positionInfoSource(QObject* parent,
                                               const QVariantMap& parameters) override;
    QGeoSatelliteInfoSource* satelliteInfoSource(QObject* parent,
                                                 const QVariantMap& parameters) override;
    QGeoAreaMonitorSource* areaMonitor(QObject* parent, const QVariantMap& parameters) override;
};

#endif
