#ifndef KOPA_QT_POSITION_CONVERSION_H
#define KOPA_QT_POSITION_CONVERSION_H

#include <KopaPosition.h>

#include <QGeoPositionInfo>
#include <QGeoPositionInfoSource>
#include <QVariantMap>

#include "KopaClientError.h"

// A position record as Qt carries it: the coordinate (with the altitude when the record has
// one), the record's time in UTC (the time of arrival when it has none), and the attributes
// the record has. Qt's Direction is the heading, clockwise from true north, as the record's.
QGeoPositionInfo toGeoPositionInfo(const KopaPosition& position);

// The Qt error class of a failure: a time-out is UpdateTimeoutError; a refused caller
// (KOPA_ERROR_NOT_AUTHORIZED, or a bus policy that refuses the call) is AccessError; no bus or
// no service is ClosedError; everything else UnknownSourceError.
QGeoPositionInfoSource::Error toSourceError(const kopa::Error& error);

// A failure as the backend property kopa.lastError shows it: code, name, message, the
// cause's kind, D-Bus error name and message, and the one-line description.
QVariantMap toVariantMap(const kopa::Error& error);

#endif
