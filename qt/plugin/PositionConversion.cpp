#include "PositionConversion.h"

#include <QDateTime>
#include <QGeoCoordinate>

QGeoPositionInfo toGeoPositionInfo(const KopaPosition& position) {
    QGeoCoordinate coordinate(position.latitude(), position.longitude());
    if (position.hasAltitude()) {
        coordinate.setAltitude(position.altitude());
    }
    const QDateTime timestamp = position.hasTimestamp()
                                    ? QDateTime::fromMSecsSinceEpoch(position.timestamp(), Qt::UTC)
                                    : QDateTime::currentDateTimeUtc();
    QGeoPositionInfo info(coordinate, timestamp);
    if (position.hasHorizontalAccuracy()) {
        info.setAttribute(QGeoPositionInfo::HorizontalAccuracy, position.horizontalAccuracy());
    }
    if (position.hasVerticalAccuracy()) {
        info.setAttribute(QGeoPositionInfo::VerticalAccuracy, position.verticalAccuracy());
    }
    if (position.hasSpeed()) {
        info.setAttribute(QGeoPositionInfo::GroundSpeed, position.speed());
    }
    if (position.hasHeading()) {
        info.setAttribute(QGeoPositionInfo::Direction, position.heading());
    }
    return info;
}

QGeoPositionInfoSource::Error toSourceError(const kopa::Error& error) {
    switch (error.code()) {
        case KOPA_ERROR_NO_REPLY:
            return QGeoPositionInfoSource::UpdateTimeoutError;
        case KOPA_ERROR_NOT_AUTHORIZED:
            return QGeoPositionInfoSource::AccessError;
        default:
            break;
    }
    switch (error.cause().kind) {
        case KOPA_FAILURE_NO_BUS:
        case KOPA_FAILURE_NO_SERVICE:
            return QGeoPositionInfoSource::ClosedError;
        case KOPA_FAILURE_POLICY:
            return QGeoPositionInfoSource::AccessError;
        default:
            return QGeoPositionInfoSource::UnknownSourceError;
    }
}

QVariantMap toVariantMap(const kopa::Error& error) {
    return {
        {QStringLiteral("code"), error.code()},
        {QStringLiteral("name"), QString::fromUtf8(error.name())},
        {QStringLiteral("message"), QString::fromUtf8(error.message())},
        {QStringLiteral("causeKind"), static_cast<int>(error.cause().kind)},
        {QStringLiteral("dbusErrorName"), QString::fromStdString(error.cause().errorName)},
        {QStringLiteral("causeMessage"), QString::fromStdString(error.cause().message)},
        {QStringLiteral("description"), QString::fromStdString(error.describe())},
    };
}
