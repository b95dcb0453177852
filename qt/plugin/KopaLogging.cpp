#include "KopaLogging.h"

Q_LOGGING_CATEGORY(lcPositioningKopa, "qt.positioning.kopa")
