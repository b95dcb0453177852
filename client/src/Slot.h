#ifndef KOPA_CLIENT_SLOT_H
#define KOPA_CLIENT_SLOT_H

#include <KopaPositioning.h>

#include <memory>
#include <mutex>

namespace kopa::detail {

class Operation;

// One KopaPositioning with its observer and records, carrying one asynchronous request at a
// time. The library allows one outstanding request per kind and object, so the client keeps a
// pool of these and takes a free one for every request.
class Slot : public KopaObserver {
  public:
    Slot() : positioning(this) {}

    // The request this slot carries, until its completion or cancel.
    void attach(std::shared_ptr<Operation> operation);
    std::shared_ptr<Operation> detach();

    void requestCompleted(int result, KopaRequestType type) override;

    KopaPositioning positioning;
    KopaPosition position;
    KopaMeasurements measurements;

  private:
    std::mutex mutex_;
    std::shared_ptr<Operation> operation_;
};

}  // namespace kopa::detail

#endif
