#include "OwnAnswers.h"

#include <KopaMeasurements.h>
#include <glib.h>

namespace {

constexpr double kTrackAccuracy = 5.0;  // metres: a GNSS fix under open sky

}  // namespace

std::int64_t nowMilliseconds() {
    return g_get_real_time() / 1000;
}

Outcome textOutcome(int externalizeResult, const std::string& text) {
    if (externalizeResult != 0) {
        return serviceError("47");
    }
    Outcome outcome;
    outcome.kind = Outcome::Kind::Text;
    outcome.text = text;
    outcome.source = "reply";
    return outcome;
}

Outcome ownCurrentPosition(const Scenario& scenario) {
    KopaPosition position = scenario.position;
    if (!scenario.fixedTimestamp) {
        position.setTimestamp(nowMilliseconds());
    }
    std::string text;
    int result = position.externalize(text);
    return textOutcome(result, text);
}

Outcome ownTrackPosition(const Scenario& scenario, const TrackSettings& settings,
                         std::int64_t startMs) {
    // One reading of the clock for both the place and its timestamp, so that an answer can be
    // checked against the journey exactly.
    std::int64_t now = nowMilliseconds();
    double elapsed = static_cast<double>(now - startMs) / 1000.0 * settings.rate;
    KopaPosition position = scenario.track->at(elapsed, settings.loop);
    // The answers' timestamps are wall-clock time, over which the journey runs `rate` times
    // faster: so does its speed.
    if (position.hasSpeed()) {
        position.setSpeed(position.speed() * settings.rate);
    }
    position.setMethod(KopaPositionMethod::Gnss);
    position.setTimestamp(now);
    position.setHorizontalAccuracy(scenario.position.hasHorizontalAccuracy()
                                       ? scenario.position.horizontalAccuracy()
                                       : kTrackAccuracy);
    std::string text;
    int result = position.externalize(text);
    return textOutcome(result, text);
}

Outcome ownCurrentMeasurements(const Scenario& scenario) {
    std::string text;
    int result = scenario.measurements.externalize(text);
    return textOutcome(result, text);
}

Outcome ownLastKnownPosition(const KopaPosition& lastKnown) {
    std::string text;
    int result = lastKnown.externalize(text);
    return textOutcome(result, text);
}

Outcome ownConversion(const Scenario& scenario, const std::string& measurementsText) {
    KopaMeasurements measurements;
    if (measurements.internalize(measurementsText) != 0) {
        return serviceError("41");
    }
    KopaPosition position;
    if (!scenario.radioMap.locate(measurements, position)) {
        return serviceError("45");
    }
    position.setTimestamp(nowMilliseconds());
    std::string text;
    int result = position.externalize(text);
    return textOutcome(result, text);
}
