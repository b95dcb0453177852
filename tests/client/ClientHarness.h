#ifndef KOPA_TEST_CLIENT_HARNESS_H
#define KOPA_TEST_CLIENT_HARNESS_H

#include <KopaClient.h>
#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

using namespace std::chrono_literals;

// Collects what a callback hands over, from whichever thread calls it.
template <typename T>
class Outcomes {
  public:
    std::function<void(const kopa::Result<T>&)> callback() {
        return [this](const kopa::Result<T>& result) { add(result); };
    }
    void add(const kopa::Result<T>& result) {
        std::lock_guard<std::mutex> lock(mutex_);
        results_.push_back(result);
        arrived_.notify_all();
    }
    // Waits (with another thread running the loop) until `count` results are in.
    bool waitFor(std::size_t count, std::chrono::milliseconds deadline = 20s) {
        std::unique_lock<std::mutex> lock(mutex_);
        return arrived_.wait_for(lock, deadline, [&] { return results_.size() >= count; });
    }
    std::vector<kopa::Result<T>> all() {
        std::lock_guard<std::mutex> lock(mutex_);
        return results_;
    }
    std::size_t size() {
        std::lock_guard<std::mutex> lock(mutex_);
        return results_.size();
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<kopa::Result<T>> results_;
};

#endif
