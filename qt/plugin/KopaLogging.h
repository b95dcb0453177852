#ifndef KOPA_QT_LOGGING_H
#define KOPA_QT_LOGGING_H

#include <QLoggingCategory>

// The plugin's messages: QT_LOGGING_RULES="qt.positioning.kopa.debug=true" shows them all.
Q_DECLARE_LOGGING_CATEGORY(lcPositioningKopa)

#endif
