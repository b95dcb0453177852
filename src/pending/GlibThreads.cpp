// g_thread_init and g_thread_supported are deprecated; the latter warns through a pragma that
// -Wno-deprecated-declarations does not reach.
#define GLIB_DISABLE_DEPRECATION_WARNINGS
#include "pending/GlibThreads.h"

#include <glib.h>

extern "C" bool kopa_glib_threads_usable() {
    if (!g_thread_supported()) {
        g_thread_init(nullptr);
    }
    return g_thread_supported();
}
