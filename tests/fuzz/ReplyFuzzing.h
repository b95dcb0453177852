#ifndef KOPA_FUZZ_REPLY_FUZZING_H
#define KOPA_FUZZ_REPLY_FUZZING_H

// What the reply fuzz targets do with one input. Each function returns false when the parser
// broke one of its promises (a crash or a sanitizer report ends the process instead).
//
// Input formats:
//   position reply:     one byte choosing the record (0 position, 1 location info, 2 a record
//                       of class type 2 that is no location info), then a marshalled message
//   measurements reply: a marshalled message
//   error reply:        one byte choosing the error name (0 the service's, 1 the time-out,
//                       2 the service's in other letter case, 3 the text up to the first
//                       newline), then the error message (up to its first NUL)

#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <dbus/dbus.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "dbus/KopaDbusMessageParser.h"

namespace reply_fuzzing {

class NotALocationInfo : public KopaPosition {
  public:
    NotALocationInfo() : KopaPosition(2, 1) {}
};

inline bool isRecordResult(int result) {
    // KOPA_OK, KOPA_ERROR_GENERAL, or a positive KopaTextResult code from internalize
    return result == 0 || result == -1000 || (result >= 1 && result <= KOPA_TEXT_NOT_REPRESENTABLE);
}

// Unmarshals `size` bytes into a message, or null when they hold none.
inline DBusMessage* demarshal(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 1u << 20) {
        return nullptr;
    }
    DBusError error;
    dbus_error_init(&error);
    DBusMessage* message =
        dbus_message_demarshal(reinterpret_cast<const char*>(data), static_cast<int>(size), &error);
    dbus_error_free(&error);
    return message;
}

template <typename Record>
bool parsedPosition(Record& record, DBusMessage*& message) {
    const Record before = record;
    const int result = KopaFwClient::KopaDbusMessageParser::parsePositionResponse(record, message);
    if (!isRecordResult(result)) {
        return false;
    }
    // The parser's own failures leave the record as it was.
    return result != -1000 || static_cast<const KopaPosition&>(record) == before;
}

inline bool positionReply(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return true;
    }
    DBusMessage* message = demarshal(data + 1, size - 1);
    if (message == nullptr) {
        return true;
    }
    KopaPosition position;
    KopaLocationInfo info;
    NotALocationInfo impostor;
    bool ok = data[0] % 3 == 0   ? parsedPosition(position, message)
              : data[0] % 3 == 1 ? parsedPosition(info, message)
                                 : parsedPosition(impostor, message) &&
                                       KopaFwClient::KopaDbusMessageParser::parsePositionResponse(
                                           impostor, message) == -1000;
    dbus_message_unref(message);
    return ok;
}

inline bool measurementsReply(const std::uint8_t* data, std::size_t size) {
    DBusMessage* message = demarshal(data, size);
    if (message == nullptr) {
        return true;
    }
    KopaMeasurements record;
    const int result =
        KopaFwClient::KopaDbusMessageParser::parseMeasurementsResponse(record, message);
    dbus_message_unref(message);
    return isRecordResult(result) && (result != -1000 || record.empty());
}

inline bool errorReply(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return true;
    }
    std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
    std::string name;
    const char* const names[] = {"com.ruvex.location.kopad.Error",
                                 "org.freedesktop.DBus.Error.NoReply",
                                 "com.ruvex.location.kopad.ERROR"};
    if (data[0] % 4 < 3) {
        name = names[data[0] % 4];
    } else {
        const std::string::size_type end = rest.find('\n');
        name = rest.substr(0, end);
        rest = end == std::string::npos ? std::string() : rest.substr(end + 1);
    }
    DBusError error;
    dbus_error_init(&error);
    dbus_set_error_const(&error, name.c_str(), rest.c_str());
    const int result = KopaFwClient::KopaDbusMessageParser::parseErrorReply(&error);
    // The caller's error is read, never changed.
    const bool untouched = error.name == name.c_str() && error.message == rest.c_str();
    for (int known : {KOPA_ERROR_GENERAL, KOPA_ERROR_NOT_AUTHORIZED, KOPA_ERROR_NETWORK,
                      KOPA_ERROR_INFORMATION_SHORTAGE, KOPA_ERROR_NOT_POSITIONED,
                      KOPA_ERROR_METHOD_NOT_SUPPORTED, KOPA_ERROR_SERVER, KOPA_ERROR_NO_REPLY}) {
        if (result == known) {
            return untouched;
        }
    }
    return false;
}

}  // namespace reply_fuzzing

#endif
