#include "DefaultContextDriver.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
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

DefaultContextDriver::DefaultContextDriver() {
    if (qtMainThreadRunsDefaultContext()) {
        declared_ = std::make_unique<kopa::ApplicationLoop>();
        return;
    }
    try {
        loop_ = std::make_unique<kopa::MainLoopThread>();
        qCDebug(lcPositioningKopa) << "Qt does not run GLib's default main context here; running"
                                      " it on the layer's own thread";
    } catch (const std::runtime_error& e) {
        qCDebug(lcPositioningKopa)
            << "another thread runs GLib's default main context:" << e.what();
    }
}

DefaultContextDriver::~DefaultContextDriver() = default;
