#ifndef KOPA_QT_DEFAULT_CONTEXT_DRIVER_H
#define KOPA_QT_DEFAULT_CONTEXT_DRIVER_H

#include <memory>

namespace kopa {
class MainLoopThread;
}

// The service's answers arrive only while some thread runs GLib's default main context. Qt on
// Debian runs it on the application's main thread (its GLib event dispatcher). Where Qt does
// not (QT_NO_GLIB=1, another event dispatcher, no QCoreApplication), a source holds one of
// these: the first one starts a kopa::MainLoopThread, shared by every source, and the last one
// gone stops it.
class DefaultContextDriver {
  public:
    // Null where Qt's main thread runs the default main context, or where some other thread
    // of the application already runs it.
    static std::shared_ptr<DefaultContextDriver> acquire();

    explicit DefaultContextDriver(std::unique_ptr<kopa::MainLoopThread> loop);
    ~DefaultContextDriver();
    DefaultContextDriver(const DefaultContextDriver&) = delete;
    DefaultContextDriver& operator=(const DefaultContextDriver&) = delete;

  private:
    std::unique_ptr<kopa::MainLoopThread> loop_;
};

#endif
