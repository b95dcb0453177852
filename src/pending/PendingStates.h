#ifndef KOPA_PENDING_STATES_H
#define KOPA_PENDING_STATES_H

#include <KopaPositioning.h>
#include <dbus/dbus.h>
#include <glib.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

#include "pending/PendingEntry.h"

/// The process's one registry of outstanding asynchronous requests.
///
/// Lock rule: `mutex` guards `entries`, `reservations`, `closing` and every entry's
/// deliveringThread and cancelled flag. Each operation holds it for its own duration only, never
/// while another registry operation, a reply parser or an observer runs (GLib mutexes are not
/// recursive). Entries taken out of the registry are released after their pending call has been
/// dealt with; an entry whose completion is being delivered stays alive until the delivery ends.
///
/// At exit the destructor frees the entries left without calling their observers, wakes every
/// cancel that waits for a delivery (it returns false, having announced nothing) and waits for
/// the cancels to leave, but never for a delivery: one may be under way on its own thread. A
/// cancel that comes after that returns false without touching the registry.
class KOPA_API PendingStates {
  public:
    PendingStates();
    ~PendingStates();

    PendingStates(const PendingStates&) = delete;
    PendingStates& operator=(const PendingStates&) = delete;

    /// Creates the entry, attaches the completion function to the pending call and registers
    /// the entry; throws std::bad_alloc when D-Bus cannot attach the function.
    int addPendingEntry(KopaRequestType type, KopaObserver* observer, DBusPendingCall*& pending,
                        unsigned int timeoutMs, KopaPosition* record, KopaPositioning* owner,
                        unsigned int serial);
    int addPendingEntry(KopaRequestType type, KopaObserver* observer, DBusPendingCall*& pending,
                        unsigned int timeoutMs, KopaMeasurements* record, KopaPositioning* owner,
                        unsigned int serial);

    void pushPendingEntry(PendingEntry* entry);
    bool checkDuplicatePending(KopaRequestType type, KopaPositioning* owner);
    bool isPendingRemoved(DBusPendingCall* pending);
    bool cancelPendingEntry(KopaRequestType type, KopaPositioning* owner, unsigned int& serial);
    bool cancelPendingEntry(KopaPositioning* owner, std::vector<unsigned int>& serials);
    void removePendingEntry(PendingEntry* entry);
    void removePendingEntry(GThread* thread);

    /// The duplicate check of a request about to be sent, made together with a reservation
    /// of its type for its owner, so that two threads sending the same request for the same
    /// owner at once cannot both pass. False (and the duplicate trace line) when refused.
    bool reservePending(KopaRequestType type, KopaPositioning* owner);
    /// Gives up a reservation whose request was not registered (send failed, or threw).
    void releaseReservation(KopaRequestType type, KopaPositioning* owner);

    /// The registered entry of `pending`, retained and marked as being delivered by this
    /// thread; null when the request is no longer registered.
    PendingEntry* beginDelivery(DBusPendingCall* pending);
    /// False when the entry was cancelled since its delivery began: its observer is not called.
    bool deliveryWanted(PendingEntry* entry);
    /// Ends a delivery: wakes cancels waiting for it and drops the delivery's reference.
    void endDelivery(PendingEntry* entry);

    /// How many requests are registered.
    std::size_t entryCount();

    bool threadsUnavailable;

  private:
    void addEntry(PendingEntry* entry, DBusPendingCall* pending);
    void appendLocked(PendingEntry* entry);
    void dropReservationLocked(KopaRequestType type, KopaPositioning* owner);
    void cancelLocked(PendingEntry* entry, std::vector<PendingEntry*>& cancelled);
    // False when the registry began closing instead.
    bool waitForDeliveriesLocked(const std::vector<PendingEntry*>& cancelled);

    std::vector<PendingEntry*> entries;
    GMutex* mutex;
    std::vector<std::pair<KopaRequestType, KopaPositioning*>> reservations;
    std::condition_variable_any deliveryEnded;
    bool closing;  // set by the destructor
};

/// The process's one PendingStates, constructed on the first call.
KOPA_API PendingStates* pendingStatesP();

namespace kopa {

/// The completion path's way to the registry. exit() may run the registry's destructor on one
/// thread while the main-loop thread delivers a completion; while a LiveRegistry lives the
/// destructor waits, and once it has begun, every LiveRegistry finds the registry gone. Never
/// keep one while an observer runs: an observer that calls exit() would wait for itself.
class LiveRegistry {
  public:
    LiveRegistry();
    ~LiveRegistry();
    LiveRegistry(const LiveRegistry&) = delete;
    LiveRegistry& operator=(const LiveRegistry&) = delete;

    /// False when the registry has been destroyed at exit.
    explicit operator bool() const { return registry_ != nullptr; }
    PendingStates* operator->() const { return registry_; }

  private:
    std::unique_lock<std::mutex> lock_;
    PendingStates* registry_;
};

}  // namespace kopa

#endif
