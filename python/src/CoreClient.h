#ifndef KOPA_PYTHON_CORE_CLIENT_H
#define KOPA_PYTHON_CORE_CLIENT_H

#include <pybind11/pybind11.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <variant>

#include "KopaClient.h"

namespace kopapy {

/// The kinds of request, as the Python package names them.
enum class RequestKind : int {
    CurrentPosition = 1,
    CurrentMeasurements = 2,
    LastKnownPosition = 3,
    ConvertToPosition = 4,
};

/// The kopa::Client behind one Python Positioning object.
///
/// The GIL rule: no call into kopa::Client is made with the GIL held. Any of them may wait for
/// a delivery on the main-loop thread, and a delivery takes the GIL to call into Python.
class CoreClient {
  public:
    CoreClient();
    /// Cancels what is outstanding (see close()); the caller holds the GIL.
    ~CoreClient();
    CoreClient(const CoreClient&) = delete;
    CoreClient& operator=(const CoreClient&) = delete;

    /// A blocking request: (value, None) or (None, failure); measurementsText only for a
    /// conversion. The caller holds the GIL; it is released while the request waits.
    pybind11::tuple request(RequestKind kind, const kopa::RequestOptions& options,
                            const std::string& measurementsText);

    /// Starts an asynchronous request whose outcome `deliver(value, failure)` receives on the
    /// thread that runs the default main context. Returns the token that cancel() takes.
    std::uint64_t start(RequestKind kind, const kopa::RequestOptions& options,
                        const std::string& measurementsText, pybind11::object deliver);
    /// Starts a subscription; `deliver(value, failure)` receives each report.
    std::uint64_t subscribe(const kopa::SubscriptionOptions& options, pybind11::object deliver);
    /// Cancels the request or subscription of `token`; when it returns, its `deliver` is not
    /// running and will not be called again. Nothing happens for an unknown token.
    void cancel(std::uint64_t token);
    /// Requests and subscriptions not yet finished or cancelled.
    std::size_t outstanding();

    /// Makes sure that a GLib loop delivers asynchronous outcomes: the program's own, or the
    /// module's thread, of which this object then holds a lease until close().
    void useLoopThread();
    /// Cancels everything outstanding and gives the loop thread's lease back. Idempotent.
    void close();

  private:
    using Handle = std::variant<kopa::Request, kopa::Subscription>;

    /// Registers a handle; the caller has released the GIL.
    std::uint64_t keep(Handle handle);
    /// Takes the finished handles out, to be destroyed after unlocking.
    std::map<std::uint64_t, Handle> takeFinishedLocked();

    // Guards handles_, nextToken_, closed_ and holdsLease_. Never held while taking the GIL or
    // calling into client_: handles are taken out under it and cancelled after unlocking.
    std::mutex mutex_;
    std::map<std::uint64_t, Handle> handles_;
    std::uint64_t nextToken_ = 1;
    bool closed_ = false;
    bool holdsLease_ = false;
    // Shared with blocking requests under way, so that close() on another thread does not
    // pull the client from under them.
    std::shared_ptr<kopa::Client> client_;
};

}  // namespace kopapy

#endif
