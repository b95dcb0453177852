#ifndef KOPA_SERVICE_NAMES_H
#define KOPA_SERVICE_NAMES_H

// Where the positioning service lives on the system bus, and what it calls things.
namespace kopa {

constexpr const char* kServiceName = "com.ruvex.location.kopad";
constexpr const char* kServicePath = "/com/ruvex/location/kopad";
constexpr const char* kServiceInterface = "com.ruvex.location.kopad";

constexpr const char* kMemberCurrentPosition = "currentPosition";
constexpr const char* kMemberCurrentMeasurements = "currentMeasurements";
constexpr const char* kMemberLastKnownPosition = "lastKnownPosition";
constexpr const char* kMemberConvertToPosition = "convertToPosition";
constexpr const char* kSignalCancel = "cancel";

constexpr const char* kServiceErrorName = "com.ruvex.location.kopad.Error";
constexpr const char* kNoReplyErrorName = "org.freedesktop.DBus.Error.NoReply";

}  // namespace kopa

#endif
