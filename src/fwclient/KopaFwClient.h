#ifndef KOPA_FW_CLIENT_H
#define KOPA_FW_CLIENT_H

#include <KopaPositioning.h>
#include <dbus/dbus.h>

#include <vector>

/// The process's one client of the positioning service: owns the system-bus connection and
/// carries out the blocking, asynchronous and cancel requests of every KopaPositioning.
class KOPA_API KopaFwClient {
  public:
    class KopaDbusMessageWriter;
    class KopaDbusMessageParser;

    KopaFwClient();
    virtual ~KopaFwClient();

    KopaFwClient(const KopaFwClient&) = delete;
    KopaFwClient& operator=(const KopaFwClient&) = delete;

    /// Opens the system-bus connection unless it is open; KOPA_OK or KOPA_ERROR_GENERAL.
    int initKopaFwClient();

    int currentPosition(KopaPosition& position, unsigned int requestParameter,
                        KopaPacketDataUsage packetDataUsage, unsigned int timeout);
    int currentMeasurements(KopaMeasurements& measurements, unsigned int requestParameter,
                            unsigned int timeout);
    int lastKnownPosition(KopaPosition& position, unsigned int requestParameter);
    int convertToPosition(KopaPosition& position, const KopaMeasurements& measurements,
                          KopaPacketDataUsage packetDataUsage, unsigned int timeout);
    int sendMessageAndBlock(DBusMessage* message, unsigned int timeout, DBusMessage*& reply,
                            KopaRequestType requestType, KopaObserver* observer);

    int currentPositionAsync(KopaPosition& position, unsigned int requestParameter,
                             KopaPacketDataUsage packetDataUsage, unsigned int timeout,
                             KopaObserver* observer, KopaPositioning* owner);
    int currentMeasurementsAsync(KopaMeasurements& measurements, unsigned int requestParameter,
                                 unsigned int timeout, KopaObserver* observer,
                                 KopaPositioning* owner);
    int lastKnownPositionAsync(KopaPosition& position, unsigned int requestParameter,
                               KopaObserver* observer, KopaPositioning* owner);
    int convertToPositionAsync(KopaPosition& position, const KopaMeasurements& measurements,
                               KopaPacketDataUsage packetDataUsage, unsigned int timeout,
                               KopaObserver* observer, KopaPositioning* owner);
    /// Sends with a pending reply and registers the request; defined for KopaPosition and
    /// KopaMeasurements.
    template <typename T>
    int sendMessageWithoutBlock(DBusMessage* message, unsigned int timeout,
                                KopaRequestType requestType, KopaObserver*& observer, T& result,
                                KopaPositioning* owner);

    void cancel(KopaPositioning* owner);
    void cancel(KopaRequestType requestType, KopaPositioning* owner);
    void sendCancel(std::vector<unsigned int> serials);

  private:
    DBusConnection* connection;
};

/// The process's one KopaFwClient, constructed on the first call.
KOPA_API KopaFwClient* kopaFwClientP();

#endif
