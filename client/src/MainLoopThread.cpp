#include <glib.h>

#include <future>
#include <stdexcept>
#include <thread>

#include "KopaClient.h"

namespace kopa {

struct MainLoopThread::Impl {
    GMainLoop* loop = nullptr;
    std::thread thread;
};

MainLoopThread::MainLoopThread() : impl_(std::make_unique<Impl>()) {
    GMainContext* context = g_main_context_default();
    impl_->loop = g_main_loop_new(context, FALSE);
    std::promise<bool> started;
    std::future<bool> owns = started.get_future();
    impl_->thread = std::thread([this, context, &started] {
        if (!g_main_context_acquire(context)) {
            started.set_value(false);
            return;
        }
        started.set_value(true);
        g_main_loop_run(impl_->loop);
        g_main_context_release(context);
    });
    if (!owns.get()) {
        impl_->thread.join();
        g_main_loop_unref(impl_->loop);
        throw std::runtime_error("another thread already runs GLib's default main context");
    }
}

MainLoopThread::~MainLoopThread() {
    // Quit from inside the loop: a quit that came before g_main_loop_run started would be lost.
    GSource* idle = g_idle_source_new();
    g_source_set_callback(
        idle,
        [](gpointer loop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(loop));
            return G_SOURCE_REMOVE;
        },
        impl_->loop, nullptr);
    g_source_attach(idle, g_main_loop_get_context(impl_->loop));
    g_source_unref(idle);
    impl_->thread.join();
    g_main_loop_unref(impl_->loop);
}

}  // namespace kopa
