#ifndef KOPA_FAILURE_CAUSE_H
#define KOPA_FAILURE_CAUSE_H

/// @file KopaFailureCause.h
/// Why the last request on this thread failed: the D-Bus error behind a result code, or the
/// library's own reason. A result code says what went wrong for the application
/// (KOPA_ERROR_GENERAL stands for a dozen different faults); the cause says where to look.

#include <string>

#include "KopaPositioning.h"

/// Where a failure came from.
enum KopaFailureKind : int {
    KOPA_FAILURE_NONE = 0,              ///< the last request on this thread succeeded (or none ran)
    KOPA_FAILURE_NO_BUS = 1,            ///< the system bus could not be reached, or has gone
    KOPA_FAILURE_NO_SERVICE = 2,        ///< nobody owns the service's bus name
    KOPA_FAILURE_POLICY = 3,            ///< the bus's policy refused the call
    KOPA_FAILURE_SERVICE_ERROR = 4,     ///< the service answered with an error of its own
    KOPA_FAILURE_NO_REPLY = 5,          ///< no answer within the time-out
    KOPA_FAILURE_DBUS_ERROR = 6,        ///< another D-Bus error
    KOPA_FAILURE_UNREADABLE_REPLY = 7,  ///< an answer the record could not read
    KOPA_FAILURE_NOT_SENT = 8,          ///< the request could not be built or handed to D-Bus
    KOPA_FAILURE_REFUSED = 9,           ///< refused by the library before anything was sent
};

/// The cause of one failure.
struct KopaFailureCause {
    KopaFailureKind kind = KOPA_FAILURE_NONE;  ///< where the failure came from
    /// The D-Bus error name ("com.ruvex.location.kopad.Error",
    /// "org.freedesktop.DBus.Error.AccessDenied", ...); empty for the library's own reasons.
    std::string errorName;
    /// The D-Bus error's message (for a service error it holds the service's code, as in
    /// "(46) not positioned"), or the library's own reason in words.
    std::string message;
};

/// The cause of the last failure that the library returned, or handed to an observer, on the
/// calling thread.
///
/// Every request operation of KopaPositioning records it before it returns; a completion
/// records it on the main-loop thread before it calls KopaObserver::requestCompleted, so an
/// observer reads the cause of the completion it is being told of. A success records
/// KOPA_FAILURE_NONE. Nothing else changes: result codes and trace lines are the same with
/// or without anyone reading the cause.
///
/// Thread-safe: each thread has its own. Long D-Bus messages are cut to 1,000 bytes.
KOPA_API KopaFailureCause kopaLastFailureCause();

#endif
