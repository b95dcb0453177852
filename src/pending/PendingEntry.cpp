#include "pending/PendingEntry.h"

PendingEntry::PendingEntry(KopaRequestType requestType, KopaObserver* observer,
                           DBusPendingCall* pendingCall, unsigned int timeoutMs,
                           KopaPositioning* owner, unsigned int serial)
    : thread(nullptr),
      observer(observer),
      pendingCall(pendingCall),
      timeoutMs(timeoutMs),
      cancelled(false),
      owner(owner),
      requestType(requestType),
      serial(serial) {}

PendingEntry::~PendingEntry() = default;

void PendingEntry::release() {
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

PositionPendingEntry::PositionPendingEntry(KopaRequestType requestType, KopaObserver* observer,
                                           DBusPendingCall* pendingCall, unsigned int timeoutMs,
                                           KopaPosition* result, KopaPositioning* owner,
                                           unsigned int serial)
    : PendingEntry(requestType, observer, pendingCall, timeoutMs, owner, serial), result(result) {}

PositionPendingEntry::~PositionPendingEntry() = default;

KopaRequestType PositionPendingEntry::getPendingType() const {
    return requestType;
}

MeasurementsPendingEntry::MeasurementsPendingEntry(KopaRequestType requestType,
                                                   KopaObserver* observer,
                                                   DBusPendingCall* pendingCall,
                                                   unsigned int timeoutMs, KopaMeasurements* result,
                                                   KopaPositioning* owner, unsigned int serial)
    : PendingEntry(requestType, observer, pendingCall, timeoutMs, owner, serial), result(result) {}

MeasurementsPendingEntry::~MeasurementsPendingEntry() = default;

KopaRequestType MeasurementsPendingEntry::getPendingType() const {
    return requestType;
}
