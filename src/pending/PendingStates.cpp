// g_mutex_new, g_mutex_free and kin are deprecated.
#define GLIB_DISABLE_DEPRECATION_WARNINGS
#include "pending/PendingStates.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <new>
#include <type_traits>

#include "log/Trace.h"
#include "pending/GlibThreads.h"
#include "pending/PendingNotify.h"
#include "pending/RegistryLock.h"

namespace {

using kopa::RegistryLock;
using kopa::RegistryLockable;

// Releases the registry's references to cancelled entries once the lock is gone, on every
// path out.
class ReleaseWhenDone {
  public:
    explicit ReleaseWhenDone(std::vector<PendingEntry*>& entries) : entries_(entries) {}
    ~ReleaseWhenDone() {
        for (PendingEntry* entry : entries_) {
            entry->release();
        }
    }
    ReleaseWhenDone(const ReleaseWhenDone&) = delete;
    ReleaseWhenDone& operator=(const ReleaseWhenDone&) = delete;

  private:
    std::vector<PendingEntry*>& entries_;
};

// Makes room for one more entry, so that the append after attaching a completion function
// cannot throw.
void makeRoom(std::vector<PendingEntry*>& entries) {
    if (entries.size() == entries.capacity()) {
        entries.reserve(std::max<std::size_t>(8, entries.capacity() * 2));
    }
}

// Guard the registry's lifetime against the completion path (see kopa::LiveRegistry) and
// against cancels. All of it must outlive the registry: none has an exit-time destructor.
std::mutex lifetimeMutex;
bool registryDestroyed = false;  // guarded by lifetimeMutex, set when destruction begins
int cancelsInside = 0;           // guarded by lifetimeMutex
static_assert(std::is_trivially_destructible<std::mutex>::value,
              "the lifetime lock must survive every exit-time destructor");

std::condition_variable& cancelLeft() {
    static auto* left = new std::condition_variable;  // never destroyed, like the lock
    return *left;
}

// Lets a cancel into the registry unless exit() has begun to destroy it, and tells the
// destructor when the cancel has left.
class CancelGate {
  public:
    CancelGate() {
        std::lock_guard<std::mutex> lifetime(lifetimeMutex);
        open_ = !registryDestroyed;
        cancelsInside += open_ ? 1 : 0;
    }
    ~CancelGate() {
        if (open_) {
            std::lock_guard<std::mutex> lifetime(lifetimeMutex);
            --cancelsInside;
        }
        cancelLeft().notify_all();
    }
    CancelGate(const CancelGate&) = delete;
    CancelGate& operator=(const CancelGate&) = delete;

    explicit operator bool() const { return open_; }

  private:
    bool open_ = false;
};

}  // namespace

kopa::LiveRegistry::LiveRegistry() : lock_(lifetimeMutex), registry_(nullptr) {
    if (!registryDestroyed) {
        registry_ = pendingStatesP();
    }
}

kopa::LiveRegistry::~LiveRegistry() = default;

PendingStates* pendingStatesP() {
    static PendingStates registry;
    return &registry;
}

PendingStates::PendingStates() : threadsUnavailable(false), mutex(nullptr), closing(false) {
    KOPA_TRACE() << "PendingStates::PendingStates()";
    threadsUnavailable = !kopa_glib_threads_usable();
    mutex = g_mutex_new();
}

PendingStates::~PendingStates() {
    // Waits for a registry operation of a completion under way on the main-loop thread, and
    // keeps every later one, and every later cancel, away from what is freed here.
    std::unique_lock<std::mutex> lifetime(lifetimeMutex);
    registryDestroyed = true;
    KOPA_TRACE() << "PendingStates::~PendingStates()";
    {
        RegistryLock lock(mutex);
        closing = true;
        for (PendingEntry* entry : entries) {
            KOPA_TRACE() << "PendingStates::~PendingStates() Entry found from the vector, free'ng";
            // The pending call outlives the entry: detach the completion function, so that a
            // reply dispatched after this is not delivered into a freed entry.
            dbus_pending_call_set_notify(entry->pendingCall, nullptr, nullptr, nullptr);
            entry->release();
        }
        entries.clear();
    }
    // A cancel waiting for a delivery is woken instead, and leaves: the delivery may never end,
    // since its observer may be the very one that called exit() on this thread.
    deliveryEnded.notify_all();
    cancelLeft().wait(lifetime, [] { return cancelsInside == 0; });
    g_mutex_free(mutex);
    std::vector<PendingEntry*>().swap(entries);
}

int PendingStates::addPendingEntry(KopaRequestType type, KopaObserver* observer,
                                   DBusPendingCall*& pending, unsigned int timeoutMs,
                                   KopaPosition* record, KopaPositioning* owner,
                                   unsigned int serial) {
    addEntry(new PositionPendingEntry(type, observer, pending, timeoutMs, record, owner, serial),
             pending);
    return KOPA_OK;
}

int PendingStates::addPendingEntry(KopaRequestType type, KopaObserver* observer,
                                   DBusPendingCall*& pending, unsigned int timeoutMs,
                                   KopaMeasurements* record, KopaPositioning* owner,
                                   unsigned int serial) {
    addEntry(
        new MeasurementsPendingEntry(type, observer, pending, timeoutMs, record, owner, serial),
        pending);
    return KOPA_OK;
}

void PendingStates::addEntry(PendingEntry* entry, DBusPendingCall* pending) {
    DBusPendingCall* lateDelivery = nullptr;
    {
        // Attaching and registering under one lock: a reply that the main loop dispatches at
        // once waits in beginDelivery until its entry is registered, instead of being
        // dropped as "removed".
        RegistryLock lock(mutex);
        try {
            makeRoom(entries);
        } catch (...) {
            entry->release();
            throw;
        }
        if (!dbus_pending_call_set_notify(pending, PendingNotify, entry, nullptr)) {
            entry->release();
            throw std::bad_alloc();
        }
        // From here nothing may throw: the completion function is attached, so the entry must
        // be registered.
        appendLocked(entry);
        if (dbus_pending_call_get_completed(pending)) {
            // The reply may have been dispatched before the completion function was attached,
            // and then D-Bus will not call it. The reference is taken while the registered
            // entry still keeps the call alive: once the lock is gone, a delivery may free it.
            lateDelivery = dbus_pending_call_ref(pending);
        }
    }
    if (lateDelivery != nullptr) {
        kopa::scheduleLateDelivery(lateDelivery);
    }
}

void PendingStates::pushPendingEntry(PendingEntry* entry) {
    RegistryLock lock(mutex);
    makeRoom(entries);
    appendLocked(entry);
}

void PendingStates::dropReservationLocked(KopaRequestType type, KopaPositioning* owner) {
    auto reserved =
        std::find(reservations.begin(), reservations.end(), std::make_pair(type, owner));
    if (reserved != reservations.end()) {
        reservations.erase(reserved);
    }
}

void PendingStates::appendLocked(PendingEntry* entry) {
    entries.push_back(entry);  // callers reserve room first
    // The request is registered now: the entry itself refuses duplicates from here on.
    dropReservationLocked(entry->requestType, entry->owner);
    try {
        if (entry->thread != nullptr) {
            KOPA_TRACE() << "PendingStates::pushPendingEntry() Thread "
                         << kopa::tracePointer(entry->thread) << " added";
        } else {
            KOPA_TRACE() << "PendingStates::pushPendingEntry() PendingEntry @"
                         << kopa::tracePointer(entry) << " added";
        }
    } catch (...) {
        // The entry is registered; a trace line that could not be built changes nothing.
    }
}

bool PendingStates::checkDuplicatePending(KopaRequestType type, KopaPositioning* owner) {
    RegistryLock lock(mutex);
    for (PendingEntry* entry : entries) {
        if (entry->requestType == type && entry->owner == owner) {
            KOPA_TRACE() << "PendingStates::checkDuplicatePending() Already same type of "
                            "request for this KopaPositioning object";
            return true;
        }
    }
    return false;
}

bool PendingStates::reservePending(KopaRequestType type, KopaPositioning* owner) {
    RegistryLock lock(mutex);
    bool taken = std::find(reservations.begin(), reservations.end(), std::make_pair(type, owner)) !=
                 reservations.end();
    for (PendingEntry* entry : entries) {
        taken = taken || (entry->requestType == type && entry->owner == owner);
    }
    if (taken) {
        KOPA_TRACE() << "PendingStates::checkDuplicatePending() Already same type of request "
                        "for this KopaPositioning object";
        return false;
    }
    reservations.emplace_back(type, owner);
    return true;
}

void PendingStates::releaseReservation(KopaRequestType type, KopaPositioning* owner) {
    RegistryLock lock(mutex);
    dropReservationLocked(type, owner);
}

bool PendingStates::isPendingRemoved(DBusPendingCall* pending) {
    RegistryLock lock(mutex);
    return std::none_of(entries.begin(), entries.end(),
                        [pending](PendingEntry* entry) { return entry->pendingCall == pending; });
}

void PendingStates::cancelLocked(PendingEntry* entry, std::vector<PendingEntry*>& cancelled) {
    dbus_pending_call_cancel(entry->pendingCall);
    entry->cancelled = true;
    entries.erase(std::find(entries.begin(), entries.end(), entry));
    dbus_pending_call_unref(entry->pendingCall);
    cancelled.push_back(entry);
}

bool PendingStates::waitForDeliveriesLocked(const std::vector<PendingEntry*>& cancelled) {
    // A completion of one of these requests may be under way on the main-loop thread. Wait
    // for it to end, so that once cancel returns the library no longer touches the observer
    // or the record. A cancel made inside that very delivery (from requestCompleted) must not
    // wait for itself, and exit() ends every wait.
    RegistryLockable lockable(mutex);
    const std::thread::id self = std::this_thread::get_id();
    for (PendingEntry* entry : cancelled) {
        deliveryEnded.wait(lockable, [this, entry, self] {
            return closing || entry->deliveringThread == std::thread::id() ||
                   entry->deliveringThread == self;
        });
    }
    return !closing;
}

bool PendingStates::cancelPendingEntry(KopaRequestType type, KopaPositioning* owner,
                                       unsigned int& serial) {
    CancelGate gate;
    if (!gate) {
        return false;
    }
    std::vector<PendingEntry*> cancelled;
    ReleaseWhenDone release(cancelled);
    RegistryLock lock(mutex);
    auto match = std::find_if(entries.begin(), entries.end(), [&](PendingEntry* entry) {
        return entry->owner == owner && entry->requestType == type;
    });
    if (match == entries.end()) {
        return false;
    }
    PendingEntry* entry = *match;
    KOPA_TRACE() << "PendingStates::cancelPending() Cancelling operation for this request type";
    cancelLocked(entry, cancelled);
    KOPA_TRACE() << "PendingStates::cancelPending() PendingEntry @" << kopa::tracePointer(entry)
                 << " removed";
    if (!waitForDeliveriesLocked(cancelled)) {
        return false;
    }
    serial = entry->serial;
    return true;
}

bool PendingStates::cancelPendingEntry(KopaPositioning* owner, std::vector<unsigned int>& serials) {
    CancelGate gate;
    if (!gate) {
        return false;
    }
    std::vector<PendingEntry*> cancelled;
    ReleaseWhenDone release(cancelled);
    RegistryLock lock(mutex);
    std::vector<PendingEntry*> matching;
    for (PendingEntry* entry : entries) {
        if (entry->owner == owner) {
            matching.push_back(entry);
        }
    }
    for (PendingEntry* entry : matching) {
        KOPA_TRACE() << "PendingStates::cancelPending() Cancelling all operations for this "
                        "positioning object";
        cancelLocked(entry, cancelled);
        KOPA_TRACE() << "PendingStates::cancelPending() PendingEntry @" << kopa::tracePointer(entry)
                     << " removed";
    }
    if (!waitForDeliveriesLocked(cancelled)) {
        return false;
    }
    for (PendingEntry* entry : cancelled) {
        serials.push_back(entry->serial);
    }
    return !serials.empty();
}

void PendingStates::removePendingEntry(PendingEntry* entry) {
    RegistryLock lock(mutex);
    auto found = std::find(entries.begin(), entries.end(), entry);
    if (found == entries.end()) {
        return;
    }
    entries.erase(found);
    dbus_pending_call_unref(entry->pendingCall);
    KOPA_TRACE() << "PendingStates::removePendingThread() PendingEntry @"
                 << kopa::tracePointer(entry) << " removed";
    // A delivery in progress holds a reference of its own: this never frees the entry under it.
    entry->release();
}

void PendingStates::removePendingEntry(GThread* thread) {
    RegistryLock lock(mutex);
    auto found = std::find_if(entries.begin(), entries.end(),
                              [thread](PendingEntry* entry) { return entry->thread == thread; });
    if (found == entries.end()) {
        return;
    }
    PendingEntry* entry = *found;
    entries.erase(found);
    dbus_pending_call_unref(entry->pendingCall);
    KOPA_TRACE() << "PendingStates::removePendingThread() Thread " << kopa::tracePointer(thread)
                 << " removed";
    entry->release();
}

PendingEntry* PendingStates::beginDelivery(DBusPendingCall* pending) {
    RegistryLock lock(mutex);
    for (PendingEntry* entry : entries) {
        if (entry->pendingCall == pending && entry->deliveringThread == std::thread::id()) {
            entry->retain();
            entry->deliveringThread = std::this_thread::get_id();
            return entry;
        }
    }
    return nullptr;
}

bool PendingStates::deliveryWanted(PendingEntry* entry) {
    RegistryLock lock(mutex);
    return !entry->cancelled && !closing;
}

void PendingStates::endDelivery(PendingEntry* entry) {
    {
        RegistryLock lock(mutex);
        entry->deliveringThread = std::thread::id();
    }
    deliveryEnded.notify_all();
    entry->release();
}

std::size_t PendingStates::entryCount() {
    RegistryLock lock(mutex);
    return entries.size();
}
