#ifndef KOPA_TOOL_ASYNC_RUNNER_H
#define KOPA_TOOL_ASYNC_RUNNER_H

#include <glib.h>

#include <KopaPositioning.h>

#include "Options.h"
#include "Output.h"

/// Runs asynchronous requests on the GLib main loop of the default context: one (kopa --async)
/// or one after another (kopa watch). SIGINT and SIGTERM cancel what is outstanding, so the
/// service hears of it, and end the run. A last-known-position request, for which the library
/// always waits up to 24 hours, is cancelled when --timeout passes and ends with
/// KOPA_ERROR_NO_REPLY, as the other requests do when their time-out passes.
class AsyncRunner : public KopaObserver {
  public:
    /// `repeat`: watch; otherwise a single request. `records` must outlive the runner.
    AsyncRunner(const Options& options, Command command, RequestRecords& records, bool repeat);
    ~AsyncRunner() override;
    AsyncRunner(const AsyncRunner&) = delete;
    AsyncRunner& operator=(const AsyncRunner&) = delete;

    /// Runs until done and returns the exit status: a single request 0 on success, 1 on
    /// failure, 130 when interrupted; watch 0 when every result succeeded, else 1.
    int run();

    void requestCompleted(int result, KopaRequestType type) override;

  private:
    static gboolean onSignal(gpointer runner);
    static gboolean onNextRequest(gpointer runner);
    static gboolean onDeadline(gpointer runner);

    void issue();
    void finished(int result);

    const Options& options_;
    Command command_;
    RequestRecords& records_;
    bool repeat_;
    KopaPositioning positioning_;
    GMainLoop* loop_;
    guint signalSources_[2] = {0, 0};
    guint nextRequestSource_ = 0;
    guint deadlineSource_ = 0;
    gint64 issuedAtUs_ = 0;
    unsigned long completed_ = 0;
    bool outstanding_ = false;
    bool anyFailed_ = false;
    bool interrupted_ = false;
};

#endif
