#ifndef KOPA_POSITIONING_H
#define KOPA_POSITIONING_H

/// @file KopaPositioning.h
/// The public interface of libkopapositioning: get a position, or the radio measurements a
/// position is computed from, from the positioning service kopad over the D-Bus system bus.

#include "KopaMeasurements.h"
#include "KopaPosition.h"

/// Marks what libkopapositioning exports; everything else is hidden.
#define KOPA_API __attribute__((visibility("default")))

/// The four kinds of request. With the issuing KopaPositioning it identifies an outstanding
/// asynchronous request: each object has at most one request of each kind outstanding.
enum KopaRequestType : int {
    KOPA_REQUEST_CURRENT_POSITION = 1,      ///< currentPosition, currentPositionAsync
    KOPA_REQUEST_CURRENT_MEASUREMENTS = 2,  ///< currentMeasurements, currentMeasurementsAsync
    KOPA_REQUEST_LAST_KNOWN_POSITION = 3,   ///< lastKnownPosition, lastKnownPositionAsync
    KOPA_REQUEST_CONVERT_TO_POSITION = 4,   ///< convertToPosition, convertToPositionAsync
};

/// Whether the service may use packet data to answer. The library never looks at the value:
/// it reaches the service as the signed 32-bit integer the application passed, so any value
/// the application and the service agree on works; the enumerators are the common ones.
enum KopaPacketDataUsage : int {
    KOPA_PACKET_DATA_NOT_ALLOWED = 0,  ///< the service must not use packet data
    KOPA_PACKET_DATA_ALLOWED = 1,      ///< the service may use packet data
};

/// @name Result codes
/// Every request operation returns one; every asynchronous completion carries one.
/// Zero is success, every failure is negative. A blocking request may also return the
/// non-zero code of the record's internalize unchanged (libkopadatatypes: positive codes).
/// @{
constexpr int KOPA_OK = 0;                       ///< success
constexpr int KOPA_ERROR_GENERAL = -1000;        ///< generic failure (no bus, bad reply, ...)
constexpr int KOPA_ERROR_SEND = -1001;           ///< the request could not be handed to D-Bus
constexpr int KOPA_ERROR_NOT_SUPPORTED = -1005;  ///< operation not available
constexpr int KOPA_ERROR_METHOD_NOT_SUPPORTED = -1050;  ///< the service lacks the needed method
constexpr int KOPA_ERROR_NO_OBSERVER = -2001;           ///< asynchronous request without observer
constexpr int KOPA_ERROR_REQUEST_PENDING = -2002;       ///< same kind already outstanding
constexpr int KOPA_ERROR_NOT_AUTHORIZED = -2050;        ///< the service refuses the caller
constexpr int KOPA_ERROR_NO_REPLY = -2100;              ///< no reply within the time-out
constexpr int KOPA_ERROR_INFORMATION_SHORTAGE = -2102;  ///< not enough information for a result
constexpr int KOPA_ERROR_NETWORK = -2103;               ///< network unavailable or failing
constexpr int KOPA_ERROR_SERVER = -2104;                ///< the positioning server failed
constexpr int KOPA_ERROR_NOT_POSITIONED = -2105;        ///< no position could be found
/// @}

/// The version of the library's interface; KopaPositioning::version() returns 1, 0, 0 in
/// every release. The release itself is in KopaRelease.h.
class KOPA_API KopaVersion {
  public:
    /// A version of the three numbers given.
    KopaVersion(unsigned short major, unsigned short minor, unsigned short patch)
        : majorVersion(major), minorVersion(minor), patchVersion(patch) {}

    unsigned short majorVersion;  ///< raised by an incompatible change of the interface
    unsigned short minorVersion;  ///< raised by a compatible addition
    unsigned short patchVersion;  ///< raised by a fix
};

/// Receives the outcome of asynchronous requests. The application derives from it and passes
/// a pointer to the KopaPositioning constructor; the library never copies or deletes it.
class KOPA_API KopaObserver {
  public:
    /// Called once for every asynchronous request that returned KOPA_OK and was not cancelled.
    /// It runs on the thread that runs the GLib main loop of the default main context, one at a
    /// time.
    /// @param result KOPA_OK when the request's record has been filled; otherwise the failure:
    ///        KOPA_ERROR_GENERAL (no usable reply), KOPA_ERROR_NO_REPLY (time-out) or a
    ///        service error such as KOPA_ERROR_NOT_POSITIONED.
    /// @param type the kind of the finished request.
    /// The request is still registered while this runs: a new request of the same kind from
    /// the same KopaPositioning is refused with KOPA_ERROR_REQUEST_PENDING until it returns.
    /// Other calls into the library are allowed. Must not throw.
    virtual void requestCompleted(int result, KopaRequestType type) = 0;

    /// The library never deletes an observer.
    virtual ~KopaObserver() {}
};

/// One client of the positioning service.
///
/// Blocking requests wait on the calling thread and return the outcome. Asynchronous requests
/// return at once; the outcome reaches the observer from the GLib main loop of the default
/// main context, which the application must run.
///
/// Threads: any operation may be called from any thread. The process shares one D-Bus
/// connection and one registry of outstanding requests among all objects.
///
/// Limits of the shared connection, which every application should know:
/// - While a blocking request waits, it holds the connection's I/O: every other thread's
///   request (blocking or asynchronous), cancel() and the main loop's deliveries wait until it
///   returns, whatever their own time-outs. In threaded programs use the asynchronous forms
///   and make blocking requests from one thread only.
/// - When the system bus goes away, the connection is lost for good: a bus that comes back is
///   not reconnected. In a program that runs the default main context, libdbus ends the
///   process with exit status 1 at the connection's next dispatch. A program that makes only
///   blocking requests lives on, and every later request returns KOPA_ERROR_GENERAL, with
///   kopaLastFailureCause() saying KOPA_FAILURE_NO_BUS: end it then. Run a program that must
///   survive the bus under a supervisor that restarts it.
/// - dbus-daemon counts every request still waiting for the service against a per-connection
///   limit (128 on a standard system bus), cancelled ones included; beyond it every request
///   fails with KOPA_ERROR_GENERAL ("LimitsExceeded" in the trace). See cancel().
///
/// The trace file: every construction copies the environment variable "KOPAAPI_TRACEFILE",
/// when set, into the name of the trace file (ignored in setuid and file-capability programs).
/// A new trace file is readable by its owner only. Pipes and FIFOs (such as /dev/stderr) work
/// too: a line they cannot take at once is dropped whole, one they take in part is finished
/// before the next (which is dropped while it cannot be), and tracing never blocks the
/// program or raises SIGPIPE. Changing the variable while other threads may be tracing is not
/// supported: the name is read without a lock. Lines written while the program exits, also
/// by threads still running, go to the file named when exit() began.
class KOPA_API KopaPositioning {
  public:
    /// A client of the service; connects at its first request.
    /// @param observer receives asynchronous results; may be null for an object that makes
    ///        blocking requests only. Not owned.
    explicit KopaPositioning(KopaObserver* observer);
    /// Does not cancel outstanding asynchronous requests: call cancel() first.
    virtual ~KopaPositioning();

    // The object's address is its identity in the registry of outstanding requests, so a
    // copy would be a different client that still claims the original's address.
    /// Not copyable: the object's address is its identity.
    KopaPositioning(const KopaPositioning&) = delete;
    /// Not assignable, for the same reason.
    KopaPositioning& operator=(const KopaPositioning&) = delete;

    /// Asks the service for the current position and waits for the answer.
    /// @param position filled on KOPA_OK; pass a KopaLocationInfo to receive one.
    /// @param requestParameter passed to the service unchanged.
    /// @param packetDataUsage passed to the service unchanged.
    /// @param timeout seconds to wait; 0 waits up to 24 hours.
    /// @return KOPA_OK, KOPA_ERROR_GENERAL (no bus or service, bad reply), KOPA_ERROR_NO_REPLY,
    ///         a service error code, or the record's internalize code.
    int currentPosition(KopaPosition& position, unsigned int requestParameter,
                        KopaPacketDataUsage packetDataUsage, unsigned int timeout);
    /// Asks the service for the current radio measurements and waits; as currentPosition.
    int currentMeasurements(KopaMeasurements& measurements, unsigned int requestParameter,
                            unsigned int timeout);
    /// Asks the service for the last known position and waits up to 24 hours, and with it
    /// every other request of the process (see the class's limits).
    int lastKnownPosition(KopaPosition& position, unsigned int requestParameter);
    /// Asks the service to compute a position from `measurements` and waits.
    int convertToPosition(KopaPosition& position, const KopaMeasurements& measurements,
                          KopaPacketDataUsage packetDataUsage, unsigned int timeout);

    /// @name Asynchronous requests
    /// Each returns as soon as the request has been sent and registered. KOPA_OK means only
    /// that: the outcome reaches the observer's requestCompleted later, from the GLib main
    /// loop of the default main context, and the record is filled just before that call.
    /// The observer and the record must stay valid until then, or until the request is
    /// cancelled. Results of the call itself: KOPA_OK; KOPA_ERROR_NO_OBSERVER (the object has
    /// no observer: nothing happens at all); KOPA_ERROR_REQUEST_PENDING (a request of the same
    /// kind is outstanding for this object, the one being completed included while its
    /// requestCompleted runs); KOPA_ERROR_SEND (D-Bus refused the message);
    /// KOPA_ERROR_NOT_SUPPORTED (GLib threads unavailable); KOPA_ERROR_GENERAL (no bus, or
    /// any other failure).
    /// @{

    /// Asks the service for the current position; the outcome reaches the observer.
    int currentPositionAsync(KopaPosition& position, unsigned int requestParameter,
                             KopaPacketDataUsage packetDataUsage, unsigned int timeout);
    /// Asks the service for the current radio measurements; the outcome reaches the observer.
    int currentMeasurementsAsync(KopaMeasurements& measurements, unsigned int requestParameter,
                                 unsigned int timeout);
    /// Asks the service for the last known position, waiting up to 24 hours for its answer.
    int lastKnownPositionAsync(KopaPosition& position, unsigned int requestParameter);
    /// Asks the service to compute a position from `measurements`; the outcome reaches the
    /// observer.
    int convertToPositionAsync(KopaPosition& position, const KopaMeasurements& measurements,
                               KopaPacketDataUsage packetDataUsage, unsigned int timeout);
    /// @}

    /// Gives up every outstanding asynchronous request of this object: no observer call comes
    /// for them, and the service receives one "cancel" signal with their serials. When one of
    /// them is being delivered on the main-loop thread at that moment, waits for that
    /// requestCompleted to return (unless called from it), so that afterwards the library
    /// touches neither observer nor records: do not hold a lock in cancel() that your
    /// requestCompleted takes, or the two threads wait for each other for ever. When another
    /// thread (or that requestCompleted) calls exit() meanwhile, the wait ends, no signal is
    /// sent, and the process ends; a cancel made while exit() runs may do nothing at all.
    /// Never throws; does not open the connection.
    ///
    /// The bus still counts a cancelled request against its limit of requests waiting for an
    /// answer per connection (max_replies_per_connection, 128 on a standard system bus) until
    /// the service answers it or its time-out passes. Beyond the limit every request fails
    /// with KOPA_ERROR_GENERAL: prefer short time-outs over many cancelled requests.
    void cancel();
    /// The same for the outstanding request of one kind.
    void cancel(KopaRequestType requestType);

    /// The library's interface version: 1, 0, 0.
    KopaVersion version() const;
    /// No extensions exist: sets `extension` to null and returns KOPA_ERROR_NOT_SUPPORTED.
    int getExtension(unsigned int extensionId, void*& extension);
    /// Writes the key to the trace; keeps nothing.
    void setAccessKey(unsigned int accessKey);

  private:
    KopaObserver* observer;
    [[maybe_unused]] KopaPositioning* self;  // the object's own address; nothing reads it
};

#endif
