#ifndef KOPA_CLIENT_HAND_OVER_H
#define KOPA_CLIENT_HAND_OVER_H

#include <glib.h>

// GLib hands a source's user data from the thread that attaches the source to the thread that
// dispatches it under futex-based locks that ThreadSanitizer does not see; under it, these two
// calls tell it that the attach happens before the dispatch.
#if defined(__SANITIZE_THREAD__)
#define KOPA_CLIENT_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KOPA_CLIENT_TSAN 1
#endif
#endif

#ifdef KOPA_CLIENT_TSAN
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace kopa::detail {

inline void handOver([[maybe_unused]] void* data) {
#ifdef KOPA_CLIENT_TSAN
    __tsan_release(data);
#endif
}

inline void takeOver([[maybe_unused]] void* data) {
#ifdef KOPA_CLIENT_TSAN
    __tsan_acquire(data);
#endif
}

// Runs `function` once from `context`'s loop (the default context when null), on whichever
// thread runs it; `function` is deleted afterwards, also when the source never runs.
template <typename Function>
GSource* attachOnce(GMainContext* context, GSource* source, Function function) {
    auto* data = new Function(std::move(function));
    handOver(data);
    g_source_set_callback(
        source,
        [](gpointer user) -> gboolean {
            takeOver(user);
            (*static_cast<Function*>(user))();
            return G_SOURCE_REMOVE;
        },
        data, [](gpointer user) { delete static_cast<Function*>(user); });
    g_source_attach(source, context);
    return source;
}

}  // namespace kopa::detail

#endif
