#ifndef KOPA_CLIENT_H
#define KOPA_CLIENT_H

/// @file KopaClient.h
/// kopa::Client: the positioning service's four requests with callables, handles that cancel,
/// time-outs as durations, blocking forms that keep to their time-out, and subscriptions.
/// Built on libkopapositioning, whose rules it keeps so that applications need not.
///
/// **Threads.** One rule for the whole layer:
/// - The library delivers every answer through GLib's default main context, so something must
///   run that context. The layer decides in one place who does, and never guesses from a
///   single look: it knows because the application said so (kopa::ApplicationLoop), because it
///   runs the context itself on a thread of its own (kopa::MainLoopThread), or because it saw
///   another thread at work (a source of its own dispatched within 20 ms). It never takes
///   the context from a thread that runs it.
/// - Callbacks run on the thread that runs the default main context (the application's loop or
///   the MainLoopThread), or, for a Client made with a GMainContext, on the thread that runs
///   that context. One at a time per context. While nobody else runs the default context, a
///   blocking request of the layer's runs it on its own thread until its answer comes, and
///   callbacks due meanwhile run there.
/// - Time-outs and subscription intervals are kept by a thread of the layer's own, not by
///   sources on a main context: a time-out passes on time however busy the loop is, and the
///   service is sent the cancel then. Its callback still runs where callbacks run.
/// - Cancelling (Request::cancel, Subscription::cancel, destroying a handle or the Client)
///   works from any thread. When it returns, the request's callback is not running and will
///   never run, and the service has been sent the cancel. From inside a callback running on
///   the same thread it returns at once; from another thread while the request's callback
///   runs, it waits for that callback to return. So do not hold, while cancelling, a lock that
///   a callback takes; and with callbacks on two contexts (two threads), do not let each
///   cancel a request whose callback runs on the other at that moment.
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
    /// How long to wait for the answer. The client's own deadline ends the request at that
    /// time, cancelling it (the service receives the cancel) and reporting
    /// KOPA_ERROR_NO_REPLY; the library is given the time rounded up to whole seconds, plus
    /// one as a backstop. Zero or less: no deadline of the client's own, the library's 24-hour
    /// ceiling. A time too long for the clock (up to milliseconds::max()) means never. (A
    /// blocking request made inside a callback of the default main context waits the time
    /// rounded up to whole seconds, see Client.)
    std::chrono::milliseconds timeout{std::chrono::seconds(30)};
    /// Passed to the service unchanged (current position, measurements, last known position).
    unsigned int requestParameter = 0;
    /// Whether the service may use packet data (current position, conversion).
    KopaPacketDataUsage packetData = KOPA_PACKET_DATA_ALLOWED;
};

/// How a subscription asks for positions.
struct SubscriptionOptions {
    /// Time from the start of one request to the start of the next. A request that takes
    /// longer delays the next one: one request is outstanding at a time. At least 1 ms; one
    /// too long for the clock (up to milliseconds::max()) means one position and no more.
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
    /// keeps a reference to it. The answers still come through the default main context: unless
    /// the application runs that one (seen at work now, or declared with an ApplicationLoop),
    /// the Client keeps the layer's loop thread running for as long as it lives, as a
    /// MainLoopThread would. A program that will start a loop on the default context later
    /// declares an ApplicationLoop before it makes the Client. May wait up to 20 ms to see
    /// who runs the default context.
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
    /// Each waits on the calling thread for the answer or its time-out, kept to the
    /// millisecond on the calling thread itself: at the deadline the request is cancelled (the
    /// service receives the cancel) and KOPA_ERROR_NO_REPLY returned, however busy the thread
    /// that runs the default main context is. The request goes the asynchronous way; while
    /// another thread runs the default main context, the calling thread only waits, and while
    /// nobody does, it runs the context itself (see the thread rule above), handing it over as
    /// soon as another runner appears. Should it find no runner at first, it has waited up to
    /// 20 ms to make sure. Other threads' requests go on meanwhile.
    ///
    /// Inside a callback of the default main context (on the thread that dispatches it), the
    /// answer could not come through that very dispatch: there the library's blocking call is
    /// used, with the time-out rounded up to whole seconds, holding the process's bus
    /// connection while it waits, and the service is not sent a cancel when that time passes.
    /// The last known position is refused there with KOPA_ERROR_NOT_SUPPORTED (cause
    /// KOPA_FAILURE_REFUSED), since the library's blocking form would wait up to 24 hours; use
    /// lastKnownPositionAsync in a callback.
    ///
    /// An answer the record cannot read is KOPA_ERROR_GENERAL (cause
    /// KOPA_FAILURE_UNREADABLE_REPLY) on every path, blocking or not.
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

/// Runs the default main context on a thread of the layer's own, for programs without a GLib
/// loop: while any MainLoopThread lives, asynchronous callbacks arrive on that thread. Several
/// share one thread. The Python module and the Qt plugin use the same thread.
class KOPA_CLIENT_API MainLoopThread {
  public:
    /// Starts the thread, or shares the one running. Throws std::runtime_error when the
    /// application runs the default main context itself: declared with an ApplicationLoop, or
    /// another thread seen dispatching it (or holding it) within 20 ms. A blocking request
    /// running the context meanwhile hands it over.
    MainLoopThread();
    /// Gives the thread up; the last one stops the loop and joins the thread, waiting for a
    /// callback under way. From inside a callback on that very thread it returns at once, and
    /// the thread ends when the callback has returned.
    ~MainLoopThread();
    MainLoopThread(const MainLoopThread&) = delete;
    MainLoopThread& operator=(const MainLoopThread&) = delete;

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Tells the layer, for as long as it lives, that the application runs GLib's default main
/// context itself: a GLib main loop, Qt's GLib event dispatcher, or a loop that calls
/// g_main_context_iteration. The layer then never runs that context on a thread of its own,
/// not even for a moment, so the application's sources stay on the application's thread; a
/// MainLoopThread made meanwhile throws, and blocking requests only wait. Needed only where the
/// layer cannot see the loop at work: a loop that starts after the first request or
/// MainLoopThread, or one that iterates less often than every 20 ms.
class KOPA_CLIENT_API ApplicationLoop {
  public:
    /// Declares that the application runs the default main context from now on. A blocking
    /// request of the layer's running the context meanwhile hands it over.
    ApplicationLoop();
    /// Withdraws this declaration (others may still stand).
    ~ApplicationLoop();
    ApplicationLoop(const ApplicationLoop&) = delete;
    ApplicationLoop& operator=(const ApplicationLoop&) = delete;
};

}  // namespace kopa

#endif
