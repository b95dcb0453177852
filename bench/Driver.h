#ifndef KOPA_BENCH_DRIVER_H
#define KOPA_BENCH_DRIVER_H

#include <glib.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "BenchSupport.h"

namespace bench {

/// Keeps `inFlight` requests outstanding until `target` have completed. A completed slot is
/// re-issued from an idle callback, for every contender alike: the library refuses a new
/// request of the same kind while the observer of the finished one still runs.
class Driver {
  public:
    Driver(int target, std::function<bool(int)> issue)
        : target_(target), issue_(std::move(issue)) {}

    /// Issues the first requests of slots 0..inFlight-1 and runs the loop until the target.
    void run(int inFlight) {
        for (int slot = 0; slot < inFlight && issued_ < target_; ++slot) {
            issue(slot);
        }
        afterBatch();
        if (!iterateUntil([this] { return done_ >= target_; }, 120000)) {
            std::fprintf(stderr, "kopa-bench: throughput run stalled at %d of %d\n", done_,
                         target_);
            std::exit(1);
        }
    }

    void completed(int slot, bool ok) {
        ++done_;
        failures_ += ok ? 0 : 1;
        if (issued_ < target_) {
            ready_.push_back(slot);
            if (idle_ == 0) {
                idle_ = g_idle_add(&Driver::drain, this);
            }
        }
    }

    int failures() const { return failures_; }
    std::function<void()> afterBatch = [] {};

  private:
    void issue(int slot) {
        ++issued_;
        if (!issue_(slot)) {
            completed(slot, false);
        }
    }

    static gboolean drain(gpointer data) {
        auto* driver = static_cast<Driver*>(data);
        driver->idle_ = 0;
        std::vector<int> ready;
        ready.swap(driver->ready_);
        for (int slot : ready) {
            if (driver->issued_ < driver->target_) {
                driver->issue(slot);
            }
        }
        driver->afterBatch();
        return G_SOURCE_REMOVE;
    }

    int target_;
    std::function<bool(int)> issue_;
    int issued_ = 0;
    int done_ = 0;
    int failures_ = 0;
    std::vector<int> ready_;
    guint idle_ = 0;
};

}  // namespace bench

#endif
