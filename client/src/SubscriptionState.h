#ifndef KOPA_CLIENT_SUBSCRIPTION_STATE_H
#define KOPA_CLIENT_SUBSCRIPTION_STATE_H

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

#include "Operation.h"
#include "RequestState.h"

namespace kopa::detail {

// Current positions at an interval: one operation at a time, the next one started from the
// timer thread when the last has finished.
class SubscriptionState : public CallbackState<KopaPosition>, public TimerTarget {
  public:
    SubscriptionState(std::shared_ptr<ClientCore> core, const SubscriptionOptions& options,
                      Callback callback);

    void begin();
    void timerFired() override { begin(); }

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
    Clock::time_point started_;
    std::shared_ptr<Operation> operation_;
    std::optional<Timers::Key> timer_;
    std::optional<KopaPosition> lastReported_;
};

// Great-circle distance in metres between two positions.
double distanceMetres(const KopaPosition& from, const KopaPosition& to);

}  // namespace kopa::detail

#endif
