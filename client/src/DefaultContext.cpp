#include "DefaultContext.h"

#include <algorithm>
#include <stdexcept>

#include "HandOver.h"

namespace kopa::detail {

namespace {

// How long a blocking request waits on another runner before it looks again who runs the
// context (that runner may have stopped), and how long it runs the context itself before it
// lets go for a moment (an application's loop may be waiting to start).
constexpr std::chrono::milliseconds kWaitSlice{100};
constexpr std::chrono::milliseconds kRunSlice{500};

GMainContext* defaultContext() {
    return g_main_context_default();
}

}  // namespace

DefaultContext& DefaultContext::instance() {
    // Never destroyed: a probe may still be attached while the process exits.
    static DefaultContext* context = new DefaultContext;
    return *context;
}

DefaultContext::Runner DefaultContext::runner() {
    std::unique_lock<std::mutex> lock(mutex_);
    return runnerLocked(lock, nullptr);
}

DefaultContext::Runner DefaultContext::runnerLocked(std::unique_lock<std::mutex>& lock,
                                                    const std::function<bool()>& ready) {
    auto known = [this]() -> std::optional<Runner> {
        if (applicationDeclarations_ > 0) {
            return Runner::Application;
        }
        if (!loopThread_.expired()) {
            return Runner::LayerThread;
        }
        return std::nullopt;
    };
    if (auto runner = known()) {
        return *runner;
    }
    // Asked anew each time: a runner seen a moment ago may have stopped since.
    const Clock::time_point now = Clock::now();
    const unsigned long round = probeRounds_;
    armProbeLocked();
    changed_.wait_until(lock, now + kProbeBound,
                        [&] { return probeRounds_ != round || known() || (ready && ready()); });
    if (auto runner = known()) {
        return *runner;
    }
    if (probeRounds_ != round) {
        return probeRanForeign_ ? Runner::Application : Runner::Waiter;
    }
    // Nobody dispatched the probe in time: either nobody runs the context, or a runner is
    // busy in a callback, holding it.
    if (g_main_context_acquire(defaultContext())) {
        g_main_context_release(defaultContext());
        return Runner::Nobody;
    }
    return ours_.empty() ? Runner::Application : Runner::Waiter;
}

void DefaultContext::armProbeLocked() {
    if (probeArmed_) {
        return;
    }
    probeArmed_ = true;
    GSource* probe = g_timeout_source_new(0);
    g_source_set_priority(probe, G_PRIORITY_HIGH);
    handOver(this);
    g_source_set_callback(
        probe,
        [](gpointer self) -> gboolean {
            takeOver(self);
            static_cast<DefaultContext*>(self)->probeDispatched();
            return G_SOURCE_REMOVE;
        },
        this, nullptr);
    g_source_attach(probe, defaultContext());
    g_source_unref(probe);
}

void DefaultContext::probeDispatched() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        probeArmed_ = false;
        ++probeRounds_;
        probeRanForeign_ = !oursLocked(std::this_thread::get_id());
    }
    changed_.notify_all();
}

bool DefaultContext::oursLocked(std::thread::id thread) const {
    return std::find(ours_.begin(), ours_.end(), thread) != ours_.end();
}

void DefaultContext::declareApplicationRunner(bool runs) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        applicationDeclarations_ += runs ? 1 : -1;
        ++changes_;
    }
    changed_.notify_all();
    if (runs) {
        g_main_context_wakeup(defaultContext());  // a blocking request running it lets go
    }
}

std::shared_ptr<LoopThread> DefaultContext::shareLoopThread() {
    std::shared_ptr<LoopThread> thread = shareLoopThreadUnlessApplicationRuns();
    if (!thread) {
        throw std::runtime_error("the application runs GLib's default main context itself");
    }
    return thread;
}

std::shared_ptr<LoopThread> DefaultContext::shareLoopThreadUnlessApplicationRuns() {
    std::lock_guard<std::mutex> starting(startMutex_);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (applicationDeclarations_ > 0) {
            return nullptr;  // even beside a loop thread started before the declaration
        }
        if (std::shared_ptr<LoopThread> running = loopThread_.lock()) {
            return running;
        }
    }
    if (runner() == Runner::Application) {
        return nullptr;
    }
    auto thread = std::make_shared<LoopThread>();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        loopThread_ = thread;
        ++changes_;
    }
    changed_.notify_all();
    g_main_context_wakeup(defaultContext());  // a blocking request running it hands it over
    return thread;
}

void DefaultContext::loopThreadRuns(std::thread::id thread, bool runs) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (runs) {
            ours_.push_back(thread);
        } else {
            ours_.erase(std::find(ours_.begin(), ours_.end(), thread));
        }
        ++changes_;
    }
    changed_.notify_all();
}

bool DefaultContext::handOverWantedLocked() const {
    return applicationDeclarations_ > 0 || !loopThread_.expired();
}

void DefaultContext::notifyWaiters() {
    // Taken so that a waiter between looking at its answer and waiting cannot miss this.
    { std::lock_guard<std::mutex> lock(mutex_); }
    changed_.notify_all();
}

void DefaultContext::waitUntil(const std::function<bool()>& ready, Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(mutex_);
    bool runnerLetGo = false;
    while (!ready()) {
        const Clock::time_point now = Clock::now();
        if (now >= deadline) {
            return;
        }
        const Runner who = runnerLetGo ? Runner::Nobody : runnerLocked(lock, ready);
        runnerLetGo = false;
        if (ready()) {
            return;
        }
        if (who == Runner::Nobody) {
            lock.unlock();
            if (g_main_context_acquire(defaultContext())) {
                runFor(ready, std::min(deadline, Clock::now() + kRunSlice));
                g_main_context_release(defaultContext());
            }
            lock.lock();
            continue;
        }
        // Another runner delivers. Look again after a slice, or as soon as a runner of the
        // layer's comes or goes: should the runner stop, this thread takes over.
        const unsigned long seen = changes_;
        changed_.wait_until(lock, std::min(deadline, Clock::now() + kWaitSlice),
                            [&] { return ready() || changes_ != seen; });
        runnerLetGo = who == Runner::Waiter && ours_.empty() && loopThread_.expired() &&
                      applicationDeclarations_ == 0;
    }
}

void DefaultContext::runFor(const std::function<bool()>& ready, Clock::time_point until) {
    const std::thread::id self = std::this_thread::get_id();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ours_.push_back(self);
        ++changes_;
    }
    // Ends the last iteration at `until` even when nothing else happens.
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
    GSource* wake = g_timeout_source_new(static_cast<guint>(std::max<long long>(wait.count(), 0)));
    g_source_set_callback(
        wake, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
    g_source_attach(wake, defaultContext());
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (handOverWantedLocked()) {
                break;
            }
        }
        if (ready() || Clock::now() >= until) {
            break;
        }
        g_main_context_iteration(defaultContext(), TRUE);
    }
    g_source_destroy(wake);
    g_source_unref(wake);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ours_.erase(std::find(ours_.begin(), ours_.end(), self));
        ++changes_;
    }
    changed_.notify_all();
}

struct LoopThread::Shared {
    GMainLoop* loop = g_main_loop_new(defaultContext(), FALSE);
    std::mutex mutex;
    std::condition_variable endedChanged;
    bool ended = false;

    ~Shared() { g_main_loop_unref(loop); }
};

LoopThread::LoopThread() : shared_(std::make_shared<Shared>()) {
    thread_ = std::thread([shared = shared_] {
        DefaultContext& owner = DefaultContext::instance();
        owner.loopThreadRuns(std::this_thread::get_id(), true);
        g_main_loop_run(shared->loop);
        owner.loopThreadRuns(std::this_thread::get_id(), false);
        {
            std::lock_guard<std::mutex> lock(shared->mutex);
            shared->ended = true;
        }
        shared->endedChanged.notify_all();
    });
}

LoopThread::~LoopThread() {
    if (thread_.get_id() == std::this_thread::get_id()) {
        // The last share went inside a callback on this very thread, which cannot join
        // itself: the loop ends when the callback returns, and the thread with it.
        g_main_loop_quit(shared_->loop);
        thread_.detach();
        return;
    }
    {
        // A quit that comes before the loop has started to run is lost: repeat it until the
        // thread has ended.
        std::unique_lock<std::mutex> lock(shared_->mutex);
        while (!shared_->ended) {
            g_main_loop_quit(shared_->loop);
            shared_->endedChanged.wait_for(lock, std::chrono::milliseconds(10));
        }
    }
    thread_.join();
}

}  // namespace kopa::detail
