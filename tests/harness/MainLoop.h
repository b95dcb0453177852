#ifndef KOPA_TEST_MAIN_LOOP_H
#define KOPA_TEST_MAIN_LOOP_H

#include <KopaPositioning.h>
#include <glib.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

// Runs the default main context, where the library delivers completions, until `done` holds
// or a generous deadline passes. A periodic wake-up makes the deadline count even when
// nothing arrives.
inline bool iterateUntil(const std::function<bool()>& done,
                         std::chrono::milliseconds deadline = std::chrono::seconds(30)) {
    const auto giveUp = std::chrono::steady_clock::now() + deadline;
    guint tick = g_timeout_add(
        20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!done() && std::chrono::steady_clock::now() < giveUp) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(tick);
    return done();
}

// Records every completion it is told of; optionally runs a reaction inside the callback.
class RecordingObserver : public KopaObserver {
  public:
    struct Completion {
        int result;
        KopaRequestType type;
    };

    void requestCompleted(int result, KopaRequestType type) override {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            completions_.push_back({result, type});
        }
        if (reaction_) {
            reaction_(result, type);
        }
    }

    void onCompletion(std::function<void(int, KopaRequestType)> reaction) {
        reaction_ = std::move(reaction);
    }

    std::vector<Completion> completions() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return completions_;
    }
    std::size_t count() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return completions_.size();
    }
    bool waitFor(std::size_t n) {
        return iterateUntil([this, n] { return count() >= n; });
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Completion> completions_;
    std::function<void(int, KopaRequestType)> reaction_;
};

#endif
