#include "AsyncRunner.h"

#include <glib-unix.h>
#include <signal.h>

#include <algorithm>

#include "Requests.h"

AsyncRunner::AsyncRunner(const Options& options, Command command, RequestRecords& records,
                         bool repeat)
    : options_(options),
      command_(command),
      records_(records),
      repeat_(repeat),
      positioning_(this),
      loop_(g_main_loop_new(nullptr, FALSE)) {
    signalSources_[0] = g_unix_signal_add(SIGINT, &AsyncRunner::onSignal, this);
    signalSources_[1] = g_unix_signal_add(SIGTERM, &AsyncRunner::onSignal, this);
}

AsyncRunner::~AsyncRunner() {
    // The library keeps our address only while a request is outstanding.
    if (outstanding_) {
        positioning_.cancel();
    }
    for (guint source : signalSources_) {
        g_source_remove(source);
    }
    if (nextRequestSource_ != 0) {
        g_source_remove(nextRequestSource_);
    }
    if (deadlineSource_ != 0) {
        g_source_remove(deadlineSource_);
    }
    g_main_loop_unref(loop_);
}

int AsyncRunner::run() {
    issue();
    if (g_main_loop_is_running(loop_) || outstanding_ || nextRequestSource_ != 0) {
        g_main_loop_run(loop_);
    }
    if (interrupted_ && !repeat_) {
        return 130;
    }
    return anyFailed_ ? 1 : 0;
}

void AsyncRunner::issue() {
    issuedAtUs_ = g_get_monotonic_time();
    int result = startAsync(positioning_, options_, command_, records_);
    if (result == KOPA_OK) {
        outstanding_ = true;
        if (command_ == Command::Last && options_.timeoutMs != 0) {
            deadlineSource_ = options_.timeoutMs <= G_MAXUINT
                                  ? g_timeout_add(static_cast<guint>(options_.timeoutMs),
                                                  &AsyncRunner::onDeadline, this)
                                  : g_timeout_add_seconds(options_.timeoutSeconds,
                                                          &AsyncRunner::onDeadline, this);
        }
        return;
    }
    // Refused at once: nothing is outstanding, and this counts as that request's result.
    finished(result);
}

void AsyncRunner::requestCompleted(int result, KopaRequestType) {
    outstanding_ = false;
    if (deadlineSource_ != 0) {
        g_source_remove(deadlineSource_);
        deadlineSource_ = 0;
    }
    finished(result);
}

void AsyncRunner::finished(int result) {
    ++completed_;
    if (!reportResult(options_, command_, result, records_, repeat_ ? completed_ : 0)) {
        anyFailed_ = true;
    }
    if (!repeat_ || (options_.count != 0 && completed_ >= options_.count)) {
        g_main_loop_quit(loop_);
        return;
    }
    // The next request may not start from inside requestCompleted (the finished one still
    // counts as outstanding there), so it always goes through the loop: one interval after the
    // previous one started, or at once when that one took longer.
    gint64 elapsedMs = (g_get_monotonic_time() - issuedAtUs_) / 1000;
    gint64 waitMs = std::max<gint64>(0, static_cast<gint64>(options_.intervalMs) - elapsedMs);
    nextRequestSource_ =
        g_timeout_add(static_cast<guint>(waitMs), &AsyncRunner::onNextRequest, this);
}

gboolean AsyncRunner::onNextRequest(gpointer data) {
    auto* runner = static_cast<AsyncRunner*>(data);
    runner->nextRequestSource_ = 0;
    runner->issue();
    return G_SOURCE_REMOVE;
}

gboolean AsyncRunner::onDeadline(gpointer data) {
    auto* runner = static_cast<AsyncRunner*>(data);
    runner->deadlineSource_ = 0;
    // The service receives the cancel signal; no completion follows.
    runner->positioning_.cancel();
    runner->outstanding_ = false;
    runner->finished(KOPA_ERROR_NO_REPLY);
    return G_SOURCE_REMOVE;
}

gboolean AsyncRunner::onSignal(gpointer data) {
    auto* runner = static_cast<AsyncRunner*>(data);
    if (runner->outstanding_) {
        // The service receives the cancel signal with the request's serial.
        runner->positioning_.cancel();
        runner->outstanding_ = false;
    }
    runner->interrupted_ = true;
    g_main_loop_quit(runner->loop_);
    return G_SOURCE_CONTINUE;
}
