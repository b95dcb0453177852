#ifndef KOPA_QT_DEFAULT_CONTEXT_DRIVER_H
#define KOPA_QT_DEFAULT_CONTEXT_DRIVER_H

#include <memory>

namespace kopa {
class ApplicationLoop;
class MainLoopThread;
}  // namespace kopa

// The service's answers arrive only while some thread runs GLib's default main context, and
// kopa::Client decides in one place who does. Qt on Debian runs it on the application's main
// thread (its GLib event dispatcher): a source then tells the layer so (kopa::ApplicationLoop),
// and the layer never runs that context elsewhere. Where Qt does not (QT_NO_GLIB=1, another
// event dispatcher, no QCoreApplication), a source shares the layer's loop thread
// (kopa::MainLoopThread), unless the application runs the context some other way.
class DefaultContextDriver {
  public:
    DefaultContextDriver();
    ~DefaultContextDriver();
    DefaultContextDriver(const DefaultContextDriver&) = delete;
    DefaultContextDriver& operator=(const DefaultContextDriver&) = delete;

  private:
    std::unique_ptr<kopa::ApplicationLoop> declared_;
    std::unique_ptr<kopa::MainLoopThread> loop_;
};

#endif
