#ifndef KOPA_DBUS_MESSAGE_PARSER_H
#define KOPA_DBUS_MESSAGE_PARSER_H

#include "fwclient/KopaFwClient.h"

/// Reads the service's replies into the application's records and maps D-Bus errors to result
/// codes. The callers keep ownership of the reply and of the error.
class KOPA_API KopaFwClient::KopaDbusMessageParser {
  public:
    /// KOPA_OK, KOPA_ERROR_GENERAL (no leading STRING, or class type 2 that is no
    /// KopaLocationInfo), or the record's internalize result unchanged.
    static int parsePositionResponse(KopaPosition& position, DBusMessage*& reply);
    static int parseMeasurementsResponse(KopaMeasurements& measurements, DBusMessage*& reply);
    /// Maps a set DBusError to a result code; neither frees nor changes it.
    static int parseErrorReply(DBusError* error);
};

#endif
