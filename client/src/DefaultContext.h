#ifndef KOPA_CLIENT_DEFAULT_CONTEXT_H
#define KOPA_CLIENT_DEFAULT_CONTEXT_H

#include <glib.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "Durations.h"

namespace kopa::detail {

class LoopThread;

// The one place that knows who runs GLib's default main context, where the library delivers
// every answer. It knows because the application said so (ApplicationLoop), because the layer
// runs it on a thread of its own (MainLoopThread), or because it saw a runner at work: a probe
// source of its own, dispatched by another thread within a short bound. A momentary
// g_main_context_acquire says nothing on its own: a program that iterates the context lets go
// of it between iterations. Whatever the answer, the layer never takes the context from a
// thread that runs it, and a blocking request never waits without a runner.
class DefaultContext {
  public:
    enum class Runner {
        Application,  // the application: declared, seen at work, or busy holding it
        LayerThread,  // the layer's own loop thread
        Waiter,       // a blocking request of the layer's, for as long as it waits
        Nobody,
    };

    static DefaultContext& instance();

    // Who runs the context, as seen from the calling thread; may wait up to kProbeBound.
    Runner runner();

    // The application's declaration, counted (ApplicationLoop).
    void declareApplicationRunner(bool runs);

    // A share of the layer's loop thread, started for the first. Throws std::runtime_error
    // where the application runs the context.
    std::shared_ptr<LoopThread> shareLoopThread();
    // The same, or null where the application runs the context.
    std::shared_ptr<LoopThread> shareLoopThreadUnlessApplicationRuns();

    // Blocks the calling thread until `ready()` or `deadline`. While nobody else runs the
    // context, runs it on this thread, handing it over as soon as another runner appears.
    void waitUntil(const std::function<bool()>& ready, Clock::time_point deadline);
    // Wakes the waiters of waitUntil to look at their `ready` again.
    void notifyWaiters();

    // How long a probe may wait to be dispatched before the context counts as run by
    // nobody (or by a runner busy in a callback, if it holds the context).
    static constexpr std::chrono::milliseconds kProbeBound{20};

  private:
    friend class LoopThread;
    DefaultContext() = default;

    Runner runnerLocked(std::unique_lock<std::mutex>& lock, const std::function<bool()>& ready);
    void armProbeLocked();
    void probeDispatched();
    bool oursLocked(std::thread::id thread) const;
    // Runs the context on this thread until `ready()`, `until`, or another runner wants it.
    void runFor(const std::function<bool()>& ready, Clock::time_point until);
    bool handOverWantedLocked() const;
    void loopThreadRuns(std::thread::id thread, bool runs);

    // Guards every member below; changed_ tells waiters that any of it (or an answer) moved.
    std::mutex mutex_;
    std::condition_variable changed_;
    int applicationDeclarations_ = 0;
    std::weak_ptr<LoopThread> loopThread_;
    // Threads that run the context for the layer: blocking waiters and the loop thread.
    std::vector<std::thread::id> ours_;
    // Counts changes of the two members above and of the declarations, for waitUntil.
    unsigned long changes_ = 0;
    bool probeArmed_ = false;
    unsigned long probeRounds_ = 0;
    bool probeRanForeign_ = false;
    // Serialises the start of the loop thread, so that two callers share one.
    std::mutex startMutex_;
};

// The layer's own loop thread: runs the default main context while shared. The last share
// stops it; from inside a callback on that very thread it lets it end by itself.
class LoopThread {
  public:
    LoopThread();
    ~LoopThread();
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;

  private:
    struct Shared;
    std::shared_ptr<Shared> shared_;
    std::thread thread_;
};

}  // namespace kopa::detail

#endif
