#ifndef KOPA_PYTHON_LOOP_THREAD_LEASE_H
#define KOPA_PYTHON_LOOP_THREAD_LEASE_H

namespace kopapy {

/// The module's own GLib loop thread (kopa::MainLoopThread), shared by every Positioning
/// object that makes asynchronous requests in a program that runs no GLib loop. It runs while
/// one of them holds a lease.
namespace loopThread {

/// Takes a lease, starting the thread for the first one. False when the program runs a GLib
/// loop of its own on the default main context (then that loop delivers and no lease is
/// taken) or after shutdown().
bool acquire();
/// Gives a lease back; the last one stops and joins the thread. Call without the GIL: the
/// thread may be waiting for it in a delivery.
void release();
/// Stops the thread for good, whatever leases are out: at interpreter exit, so that no
/// delivery wants the GIL of an interpreter that is going away. Call without the GIL.
void shutdown();
/// Whether the module's thread runs now.
bool running();

}  // namespace loopThread
}  // namespace kopapy

#endif
