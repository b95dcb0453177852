#include "KopaPositionPlugin.h"

#include "KopaPositionSource.h"

QGeoPositionInfoSource* KopaPositionPlugin::positionInfoSource(QObject* parent,
                                                               const QVariantMap& parameters) {
    return new KopaPositionSource(parameters, parent);
}

QGeoSatelliteInfoSource* KopaPositionPlugin::satelliteInfoSource(QObject*, const QVariantMap&) {
    return nullptr;
}

QGeoAreaMonitorSource* KopaPositionPlugin::areaMonitor(QObject*, const QVariantMap&) {
    return nullptr;
}
