#ifndef KOPA_TOOL_RECORDER_H
#define KOPA_TOOL_RECORDER_H

#include <glib.h>

#include <cstdint>
#include <string>

#include <KopaClient.h>

#include "Options.h"
#include "TrackFormat.h"
#include "TrackOutput.h"

/// kopa record: the current position every --interval through a kopa::Client subscription
/// (one request outstanding at a time), each answer a point of the track document, until
/// --count points, --duration seconds, SIGINT or SIGTERM; each of these ends the document
/// properly. Failed requests, time-outs included, are reported and counted, not written, and
/// the recording goes on. The subscription's answers, the signals and the timer all arrive on
/// a GMainLoop of the default context that run() runs on the calling thread, so nothing here
/// is shared between threads.
class Recorder {
  public:
    /// `format` and `output` must outlive the recorder.
    Recorder(const Options& options, TrackFormat& format, TrackOutput& output);
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// Records until one of the ends above and returns the exit status: 0 when every request
    /// succeeded and the document was written, else 1.
    int run();

  private:
    static gboolean onStop(gpointer recorder);
    void record(const kopa::Result<KopaPosition>& answer);
    void stop();

    const Options& options_;
    TrackFormat& format_;
    TrackOutput& output_;
    GMainLoop* loop_;
    guint stopSources_[3] = {0, 0, 0};  // SIGINT, SIGTERM, --duration
    unsigned long requests_ = 0;
    unsigned long points_ = 0;
    unsigned long failures_ = 0;
    unsigned long outOfOrder_ = 0;
    unsigned long repeated_ = 0;
    std::int64_t lastTimeMs_ = INT64_MIN;
    double lastLatitude_ = 0.0;
    double lastLongitude_ = 0.0;
    bool afterGap_ = false;
    std::string writeError_;
    kopa::Client client_;
    kopa::Subscription subscription_;
};

/// Runs kopa record as `options` ask and returns the exit status. Throws std::runtime_error
/// when the output cannot be opened.
int recordTrack(const Options& options);

#endif
