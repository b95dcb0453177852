#include "DefaultContextDriver.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QThread>
#include <mutex>
#include <stdexcept>

#include "KopaClient.h"
#include "KopaLogging.h"

namespace {

// QEventDispatcherGlib (and the QPA dispatchers derived from it) runs the default main
// context on the main thread; Qt gives every other thread a context of its own.
bool qtMainThreadRunsDefaultContext() {
    QCoreApplication* application = QCoreApplication::instance();
    if (application == nullptr) {
        return false;
    }
    QAbstractEventDispatcher* dispatcher =
        QAbstractEventDispatcher::instance(application->thread());
    return dispatcher != nullptr && dispatcher->inherits("QEventDispatcherGlib");
}

}  // namespace

std::shared_ptr<DefaultContextDriver> DefaultContextDriver::acquire() {
    if (qtMainThreadRunsDefaultContext()) {
        return nullptr;
    }
    // The sources of all threads share one driver: taken and released under the lock.
    static std::mutex mutex;
    static std::weak_ptr<DefaultContextDriver> shared;
    std::lock_guard<std::mutex> lock(mutex);
    if (auto driver = shared.lock()) {
        return driver;
    }
    try {
        auto driver =
            std::make_shared<DefaultContextDriver>(std::make_unique<kopa::MainLoopThread>());
        shared = driver;
        qCDebug(lcPositioningKopa) << "Qt does not run GLib's default main context here; running"
                                      " it on a thread of the plugin's own";
        return driver;
    } catch (const std::runtime_error& e) {
        qCDebug(lcPositioningKopa)
            << "another thread already runs GLib's default main context:" << e.what();
        return nullptr;
    }
}

DefaultContextDriver::DefaultContextDriver(std::unique_ptr<kopa::MainLoopThread> loop)
    : loop_(std::move(loop)) {}

DefaultContextDriver::~DefaultContextDriver() = default;
