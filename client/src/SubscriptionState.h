#ifndef KOPA_CLIENT_SUBSCRIPTION_STATE_H
#define KOPA_CLIENT_SUBSCRIPTION_STATE_H

#include <glib.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "Operation.h"
#include "RequestState.h"

namespace kopa::detail {

// Current positions at an interval: one operation at a time, the next one started by a timer
// on the default main context when the last has finished.
class SubscriptionState : public CallbackState<KopaPosition> {
  public:
    SubscriptionState(std::shared_ptr<ClientCore> core, const SubscriptionOptions& options,
                      Callback callback);

    void begin();

  protected:
    void stopWork() override;

  private:
    void finished(int code, const KopaFailureCause& cause, const Slot* slot);
    // Whether a position is far enough from the last one reported to be reported.
    bool farEnough(const KopaPosition& position);

    const SubscriptionOptions options_;
    // Guards the members below.
    std::mutex mutex_;
    bool stopped_ = false;
    std::chrono::steady_clock::time_point started_;
    std::shared_ptr<Operation> operation_;
    GSource* timer_ = nullptr;
    std::optional<KopaPosition> lastReported_;
};

// Great-circle distance in metres between two positions.
double distanceMetres(const KopaPosition& from, const KopaPosition& to);

}  // namespace kopa::detail

#endif
