// Calls exit() while the main-loop thread is inside requestCompleted, and keeps the process in
// its exit handlers until the observer has returned and the main loop has ended: the rest of
// that delivery then runs after the registry's exit-time destructor. Run under valgrind or
// AddressSanitizer, it proves that such a delivery touches nothing the destructor freed.
#include <KopaPositioning.h>
#include <glib.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

GMainLoop* loop = nullptr;

// Constructed before main, so destroyed after everything the library creates during main:
// its destructor runs once the registry is gone.
class ExitGate {
  public:
    ~ExitGate() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            exiting_ = true;
        }
        changed_.notify_all();
        if (loopThread.joinable()) {
            loopThread.join();
        }
        if (completions_ != 1) {
            _exit(3);
        }
    }

    void observerEntered() {
        std::unique_lock<std::mutex> lock(mutex_);
        ++completions_;
        entered_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return exiting_; });
    }

    void waitForObserver() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return entered_; });
    }

    std::thread loopThread;

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool entered_ = false;
    bool exiting_ = false;
    int completions_ = 0;
};

ExitGate gate;

class StallingObserver : public KopaObserver {
  public:
    void requestCompleted(int, KopaRequestType) override {
        gate.observerEntered();
        g_main_loop_quit(loop);
    }
};

StallingObserver observer;
KopaPosition position;

}  // namespace

int main() {
    loop = g_main_loop_new(nullptr, FALSE);
    KopaPositioning positioning(&observer);
    if (positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 10) != KOPA_OK) {
        return 2;
    }
    gate.loopThread = std::thread([] { g_main_loop_run(loop); });
    gate.waitForObserver();
    std::exit(0);
}
