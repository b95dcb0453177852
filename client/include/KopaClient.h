#ifndef KOPA_CLIENT_H
#define KOPA_CLIENT_H

/// @file KopaClient.h
/// kopa::Client: the positioning service's four requests with callables, handles that cancel,
/// time-outs as durations, blocking forms that keep to their time-out, and subscriptions.
/// Built on libkopapositioning, whose rules it keeps so that applications need not.
///
/// **Threads.** One rule for the whole layer:
/// - Callbacks run on the thread that runs GLib's default main context (the library delivers
///   there), or, for a Client made with a GMainContext, on the thread that runs that context.
///   One at a time per context. A program with no GLib loop of its own starts a
///   kopa::MainLoopThread.
/// - Cancelling (Request::cancel, Subscription::cancel, destroying a handle or the Client)
///   works from any thread. When it returns, the request's callback is not running and will
///   never run, and the service has been sent the cancel. From inside a callback (of the same
///   or another request) it returns at once; from another thread while the request's callback
///   runs, it waits for that callback to return. So do not hold, while cancelling, a lock that
///   a callback takes.
/// - Client, Request and Subscription may be used from several threads; one handle is not to
///   be cancelled and moved at the same time from two threads.
/// - A callback must not throw: nothing between it and the main loop could take the exception,
///   so it is dropped.
/// - Each outstanding request uses one KopaPositioning of the library; the client keeps a pool
///   of them. The library's shared-connection limits hold as they are (see KopaPositioning),
///   among them dbus-daemon's limit of requests waiting for an answer per connection.

#include <chrono>
#include <functional>
#include <memory>

#include "KopaClientError.h"

/// GLib's main context (glib.h), declared here so that this header needs no GLib headers.
typedef struct _GMainContext GMainContext;

namespace kopa {

namespace detail {
class ClientCore;
class RequestState;
}  // namespace detail

/// How one request is made.
struct RequestOptions {
    /// How long to wait for the answer. The library is given it in whole seconds, rounded
    /// up; the client's own deadline ends the request at the exact time, cancelling it
    /// (the service receives the cancel) and reporting KOPA_ERROR_NO_REPLY. Zero or less:
    /// no deadline of the client's own, the library's 24-hour ceiling.
    std::chrono::milliseconds timeout{std::chrono::seconds(30)};
    /// Passed to the service unchanged (current position, measurements, last known position).
    unsigned int requestParameter = 0;
    /// Whether the service may use packet data (current position, conversion).
    KopaPacketDataUsage packetData = KOPA_PACKET_DATA_ALLOWED;
};

/// How a subscription asks for positions.
struct SubscriptionOptions {
    /// Time from the start of one request to the start of the next. A request that takes
    /// longer delays the next one: one request is outstanding at a time. At least 1 ms.
    std::chrono::milliseconds interval{std::chrono::seconds(1)};
    /// Positions closer than this many metres (great-circle) to the last one reported are not
    /// reported. Zero reports every position. Failures are always reported.
    double minimumDistance = 0.0;
    /// Each request's own options.
    RequestOptions request;
};

/// Receives the outcome of a position request (current, last known, conversion).
using PositionCallback = std::function<void(const Result<KopaPosition>&)>;
/// Receives the outcome of a measurements request.
using MeasurementsCallback = std::function<void(const Result<KopaMeasurements>&)>;

/// One outstanding asynchronous request. Move-only; destroying it cancels the request.
class KOPA_CLIENT_API Request {
  public:
    Request() noexcept;
    ~Request();
    Request(Request&& other) noexcept;
    /// Cancels the request this handle held, then takes over `other`'s.
    Request& operator=(Request&& other) noexcept;
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    /// True until its callback has been called (or is being called) or it was cancelled.
    bool pending() const noexcept;
    /// Gives the request up: no callback comes, and the service is sent the cancel. See the
    /// thread rule of this header for when it waits. Nothing happens for a request that has
    /// finished or was cancelled.
    void cancel() noexcept;

  private:
    friend class Client;
    explicit Request(std::shared_ptr<detail::RequestState> state) noexcept;
    std::shared_ptr<detail::RequestState> state_;
};

/// Positions at an interval until cancelled. Move-only; destroying it ends the subscription.
class KOPA_CLIENT_API Subscription {
  public:
    Subscription() noexcept;
    ~Subscription();
    Subscription(Subscription&& other) noexcept;
    Subscription& operator=(Subscription&& other) noexcept;
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    /// True until cancelled (or its Client destroyed).
    bool active() const noexcept;
    /// Ends it, cancelling the request outstanding, with the waiting rule of Request::cancel.
    void cancel() noexcept;

  private:
    friend class Client;
    explicit Subscription(std::shared_ptr<detail::RequestState> state) noexcept;
    std::shared_ptr<detail::RequestState> state_;
};

/// A client of the positioning service. Any number of requests of any kind may be
/// outstanding at once. Destroying the Client cancels every request and subscription it still
/// has (the handles then report nothing pending).
class KOPA_CLIENT_API Client {
  public:
    /// Callbacks run on the thread that runs the default main context.
    Client();
    /// Callbacks are forwarded to `context`, and run on the thread that runs it. The Client
    /// keeps a reference to it.
    explicit Client(GMainContext* context);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// @name Asynchronous requests
    /// Each returns at once. The callback is called exactly once with the answer or the
    /// failure, unless the request is cancelled first; a request the library refuses at once
    /// (no bus, say) is reported through the callback too, from the main loop, never from
    /// inside this call. Keep the returned handle: destroying it cancels.
    /// @{
    Request currentPositionAsync(const RequestOptions& options, PositionCallback callback);
    Request currentMeasurementsAsync(const RequestOptions& options, MeasurementsCallback callback);
    Request lastKnownPositionAsync(const RequestOptions& options, PositionCallback callback);
    Request convertToPositionAsync(const KopaMeasurements& measurements,
                                   const RequestOptions& options, PositionCallback callback);
    /// @}

    /// @name Blocking requests
    /// Each waits on the calling thread for the answer or the time-out. Where another thread
    /// runs the default main context, the request goes the asynchronous way and the calling
    /// thread waits alone: other threads' requests go on. Where no other thread runs it (the
    /// calling thread does, or nobody), the library's blocking call is used, with the time-out
    /// rounded up to whole seconds; it holds the process's bus connection while it waits.
    /// The last known position is the exception: there the client makes the asynchronous
    /// request and runs the default main context on the calling thread until the answer or
    /// the time-out, since the library's blocking form would wait up to 24 hours.
    /// @{
    Result<KopaPosition> currentPosition(const RequestOptions& options = {});
    Result<KopaMeasurements> currentMeasurements(const RequestOptions& options = {});
    Result<KopaPosition> lastKnownPosition(const RequestOptions& options = {});
    Result<KopaPosition> convertToPosition(const KopaMeasurements& measurements,
                                           const RequestOptions& options = {});
    /// @}

    /// Current positions at `options.interval`, one request outstanding at a time, filtered
    /// by `options.minimumDistance`. The first request starts at once. Failures (time-outs
    /// included) are reported and the subscription goes on.
    Subscription subscribe(const SubscriptionOptions& options, PositionCallback callback);

  private:
    std::shared_ptr<detail::ClientCore> core_;
};

/// Runs the default main context on a thread of its own, for programs without a GLib loop:
/// while it lives, asynchronous callbacks arrive on that thread.
class KOPA_CLIENT_API MainLoopThread {
  public:
    /// Starts the thread. Throws std::runtime_error when another thread already runs the
    /// default main context.
    MainLoopThread();
    /// Stops the loop and joins the thread.
    ~MainLoopThread();
    MainLoopThread(const MainLoopThread&) = delete;
    MainLoopThread& operator=(const MainLoopThread&) = delete;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kopa

#endif
