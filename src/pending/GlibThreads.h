#ifndef KOPA_GLIB_THREADS_H
#define KOPA_GLIB_THREADS_H

// Initialises GLib's thread system if needed and tells whether it is usable. In a file of its
// own, with C linkage, so that a test binary can interpose it (linker --wrap) and reach the
// path of a registry without threads, which current GLib never takes.
extern "C" bool kopa_glib_threads_usable();

#endif
