#include "Recorder.h"

#include <glib-unix.h>
#include <signal.h>

#include <algorithm>
#include <exception>
#include <iostream>

Recorder::Recorder(const Options& options, TrackFormat& format, TrackOutput& output)
    : options_(options), format_(format), output_(output), loop_(g_main_loop_new(nullptr, FALSE)) {
    stopSources_[0] = g_unix_signal_add(SIGINT, &Recorder::onStop, this);
    stopSources_[1] = g_unix_signal_add(SIGTERM, &Recorder::onStop, this);
}

Recorder::~Recorder() {
    subscription_.cancel();
    for (guint source : stopSources_) {
        if (source != 0) {
            g_source_remove(source);
        }
    }
    g_main_loop_unref(loop_);
}

int Recorder::run() {
    std::int64_t startMs = g_get_real_time() / 1000;
    if (!output_.append(format_.opening(startMs), format_.closing(false))) {
        std::cerr << "kopa: cannot write " << output_.name() << ": " << output_.error()
                  << std::endl;
        return 1;
    }
    kopa::SubscriptionOptions subscription;
    subscription.interval = std::chrono::milliseconds(std::max(1u, options_.intervalMs));
    subscription.request.timeout = std::chrono::milliseconds(options_.timeoutMs);
    subscription.request.requestParameter = options_.requestParameter;
    subscription.request.packetData = static_cast<KopaPacketDataUsage>(options_.packetDataUsage);
    subscription_ =
        client_.subscribe(subscription, [this](const kopa::Result<KopaPosition>& answer) {
            // Nothing may leave a callback of the client by an exception.
            try {
                record(answer);
            } catch (const std::exception& error) {
                writeError_ = error.what();
                stop();
            }
        });
    if (options_.durationSeconds != 0) {
        // g_timeout_add_seconds would round the first second to the next whole one of GLib's.
        stopSources_[2] =
            options_.durationSeconds <= G_MAXUINT / 1000
                ? g_timeout_add(options_.durationSeconds * 1000, &Recorder::onStop, this)
                : g_timeout_add_seconds(options_.durationSeconds, &Recorder::onStop, this);
    }
    g_main_loop_run(loop_);
    subscription_.cancel();

    // After a failed write the output ends with the closing of the last point written; the
    // format's final closing would count the point that was not.
    bool closed = writeError_.empty() ? output_.finish(format_.closing(true)) : output_.close();
    if (!closed && writeError_.empty()) {
        writeError_ = output_.error();
    }
    std::cerr << "kopa: " << points_ << " point(s) recorded to " << output_.name() << "; "
              << failures_ << " of " << requests_ << " request(s) failed";
    if (outOfOrder_ != 0) {
        std::cerr << "; " << outOfOrder_ << " answer(s) older than the point before left out";
    }
    if (repeated_ != 0) {
        std::cerr << "; " << repeated_ << " answer(s) repeating the point before left out";
    }
    std::cerr << std::endl;
    if (!writeError_.empty()) {
        std::cerr << "kopa: cannot write " << output_.name() << ": " << writeError_ << std::endl;
        return 1;
    }
    return failures_ == 0 ? 0 : 1;
}

void Recorder::record(const kopa::Result<KopaPosition>& answer) {
    ++requests_;
    if (!answer) {
        ++failures_;
        afterGap_ = true;
        std::cerr << "kopa: request " << requests_ << " failed: " << answer.error().describe()
                  << std::endl;
        return;
    }
    const KopaPosition& position = answer.value();
    // The time of the fix; a record without a usable one gets the time it arrived.
    std::int64_t timeMs = position.hasTimestamp() && !isoTime(position.timestamp()).empty()
                              ? position.timestamp()
                              : g_get_real_time() / 1000;
    // Times in a track only go forward; replaying it depends on that.
    if (timeMs < lastTimeMs_) {
        ++outOfOrder_;
        std::cerr << "kopa: request " << requests_ << ": the position of " << isoTime(timeMs)
                  << " is older than the point before; left out" << std::endl;
        return;
    }
    // A service asked again before it has a new fix may answer with the one before: the same
    // time and place would make a point of no length and no duration.
    if (timeMs == lastTimeMs_ && position.latitude() == lastLatitude_ &&
        position.longitude() == lastLongitude_) {
        ++repeated_;
        return;
    }
    if (!output_.append(format_.point(position, timeMs, afterGap_), format_.closing(false))) {
        writeError_ = output_.error();
        stop();
        return;
    }
    lastTimeMs_ = timeMs;
    lastLatitude_ = position.latitude();
    lastLongitude_ = position.longitude();
    afterGap_ = false;
    if (++points_ == options_.count) {
        stop();
    }
}

void Recorder::stop() {
    subscription_.cancel();
    g_main_loop_quit(loop_);
}

gboolean Recorder::onStop(gpointer recorder) {
    static_cast<Recorder*>(recorder)->stop();
    return G_SOURCE_CONTINUE;
}

int recordTrack(const Options& options) {
    // Past a file-size limit a write should fail with EFBIG, so that the document is cut back to
    // its last point and closed, rather than have SIGXFSZ end kopa with a core dump.
    signal(SIGXFSZ, SIG_IGN);
    TrackOutput output(options.outputFile);
    std::unique_ptr<TrackFormat> format = makeTrackFormat(options.trackFormat);
    Recorder recorder(options, *format, output);
    return recorder.run();
}
