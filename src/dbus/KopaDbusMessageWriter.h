#ifndef KOPA_DBUS_MESSAGE_WRITER_H
#define KOPA_DBUS_MESSAGE_WRITER_H

#include "fwclient/KopaFwClient.h"

/// Builds the method calls of the four requests. Each writer stores the new message in
/// `message` before anything else and returns KOPA_OK, or KOPA_ERROR_GENERAL; the caller sends
/// and releases the message (also one left behind by a failed convert writer).
class KOPA_API KopaFwClient::KopaDbusMessageWriter {
  public:
    static int writeCurrentPositionRequest(unsigned int requestParameter,
                                           KopaPacketDataUsage packetDataUsage,
                                           unsigned short classType, unsigned short version,
                                           DBusMessage*& message);
    static int writeCurrentMeasurementsRequest(unsigned int requestParameter,
                                               DBusMessage*& message);
    static int writeLastKnownPositionRequest(unsigned int requestParameter,
                                             unsigned short classType, unsigned short version,
                                             DBusMessage*& message);
    static int writeConvertToPositionRequest(const KopaMeasurements& measurements,
                                             KopaPacketDataUsage packetDataUsage,
                                             unsigned short classType, unsigned short version,
                                             DBusMessage*& message);
};

#endif
