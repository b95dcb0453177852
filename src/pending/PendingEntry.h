#ifndef KOPA_PENDING_ENTRY_H
#define KOPA_PENDING_ENTRY_H

#include <KopaPositioning.h>
#include <dbus/dbus.h>
#include <glib.h>

#include <atomic>
#include <thread>

/// One outstanding asynchronous request, owned by the registry.
///
/// The entry is reference counted: the registry holds one reference while the entry is
/// registered, and a completion being delivered holds another, so a cancel on another thread
/// (or inside the observer) can take the entry out of the registry without freeing it under
/// the delivery. Deleting an entry frees the entry alone: the pending-call reference is
/// dropped by whoever takes the entry out of the registry.
class KOPA_API PendingEntry {
  public:
    PendingEntry(KopaRequestType requestType, KopaObserver* observer, DBusPendingCall* pendingCall,
                 unsigned int timeoutMs, KopaPositioning* owner, unsigned int serial);
    virtual ~PendingEntry();
    virtual KopaRequestType getPendingType() const = 0;

    PendingEntry(const PendingEntry&) = delete;
    PendingEntry& operator=(const PendingEntry&) = delete;

    GThread* thread;
    KopaObserver* observer;
    DBusPendingCall* pendingCall;
    unsigned int timeoutMs;
    bool cancelled;
    KopaPositioning* owner;
    KopaRequestType requestType;
    unsigned int serial;

    /// Takes one more reference.
    void retain() { references.fetch_add(1, std::memory_order_relaxed); }
    /// Drops one reference; the last one deletes the entry.
    void release();

    /// The thread that is delivering this entry's completion right now, if any; guarded by
    /// the registry's mutex.
    std::thread::id deliveringThread;

  private:
    std::atomic<int> references{1};
};

/// An outstanding current-position, last-known-position or convert request.
class KOPA_API PositionPendingEntry : public PendingEntry {
  public:
    PositionPendingEntry(KopaRequestType requestType, KopaObserver* observer,
                         DBusPendingCall* pendingCall, unsigned int timeoutMs, KopaPosition* result,
                         KopaPositioning* owner, unsigned int serial);
    ~PositionPendingEntry() override;
    KopaRequestType getPendingType() const override;

    KopaPosition* result;
};

/// An outstanding current-measurements request.
class KOPA_API MeasurementsPendingEntry : public PendingEntry {
  public:
    MeasurementsPendingEntry(KopaRequestType requestType, KopaObserver* observer,
                             DBusPendingCall* pendingCall, unsigned int timeoutMs,
                             KopaMeasurements* result, KopaPositioning* owner, unsigned int serial);
    ~MeasurementsPendingEntry() override;
    KopaRequestType getPendingType() const override;

    KopaMeasurements* result;
};

#endif
