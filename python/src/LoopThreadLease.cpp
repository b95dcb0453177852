#include "LoopThreadLease.h"

#include <glib.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "KopaClient.h"

namespace kopapy::loopThread {

namespace {

// Guards the three below. The thread is stopped after unlocking: joining it can take as long
// as a delivery under way, and nobody should wait for the lock meanwhile.
std::mutex mutex;
int leases = 0;
bool shutDown = false;
std::unique_ptr<kopa::MainLoopThread> thread;
// Loop threads being stopped by a thread of their own (see release()): until they are, the
// default main context still looks run by someone else.
std::atomic<int> stopsUnderWay{0};

}  // namespace

bool acquire() {
    std::lock_guard<std::mutex> lock(mutex);
    if (shutDown) {
        return false;
    }
    while (!thread) {
        try {
            thread = std::make_unique<kopa::MainLoopThread>();
        } catch (const std::runtime_error&) {
            if (stopsUnderWay == 0) {
                return false;  // the program's own GLib loop delivers
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ++leases;
    return true;
}

void release() {
    std::unique_ptr<kopa::MainLoopThread> stopping;
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (leases > 0 && --leases == 0) {
            stopping = std::move(thread);
        }
    }
    if (stopping && g_main_context_is_owner(g_main_context_default())) {
        // The last lease went inside a delivery on the loop thread itself (a callback dropped
        // the last Positioning), which cannot join itself: another thread stops it once the
        // delivery has returned.
        ++stopsUnderWay;
        std::thread([doomed = std::move(stopping)]() mutable {
            doomed.reset();
            --stopsUnderWay;
        }).detach();
    }
}

void shutdown() {
    std::unique_ptr<kopa::MainLoopThread> stopping;
    {
        std::lock_guard<std::mutex> lock(mutex);
        shutDown = true;
        leases = 0;
        stopping = std::move(thread);
    }
}

bool running() {
    std::lock_guard<std::mutex> lock(mutex);
    return thread != nullptr;
}

}  // namespace kopapy::loopThread
