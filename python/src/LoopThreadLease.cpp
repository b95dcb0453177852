#include "LoopThreadLease.h"

#include <memory>
#include <mutex>
#include <stdexcept>

#include "KopaClient.h"

namespace kopapy::loopThread {

namespace {

// Guards the three below. The thread is stopped after unlocking: joining it can take as long
// as a delivery under way, and nobody should wait for the lock meanwhile.
std::mutex mutex;
int leases = 0;
bool shutDown = false;
std::unique_ptr<kopa::MainLoopThread> thread;

}  // namespace

bool acquire() {
    std::lock_guard<std::mutex> lock(mutex);
    if (shutDown) {
        return false;
    }
    if (!thread) {
        try {
            thread = std::make_unique<kopa::MainLoopThread>();
        } catch (const std::runtime_error&) {
            return false;  // the program's own GLib loop delivers
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
    // A last lease given back by a callback on the loop thread itself (one that dropped the
    // last Positioning) lets the thread end once the callback has returned.
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
