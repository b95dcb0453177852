#ifndef KOPAD_SIM_OWN_ANSWERS_H
#define KOPAD_SIM_OWN_ANSWERS_H

#include <KopaPosition.h>

#include <string>

#include "Outcome.h"
#include "Scenario.h"

// The service's own answers ("reply"): a STRING outcome with the text of a record, or the
// service error it answers instead.

// The scenario's position, stamped with the current time unless the scenario fixes one.
Outcome ownCurrentPosition(const Scenario& scenario);
// Where the scenario's track has the device now, its journey having started at `startMs`.
Outcome ownTrackPosition(const Scenario& scenario, const TrackSettings& settings,
                         std::int64_t startMs);
Outcome ownCurrentMeasurements(const Scenario& scenario);
Outcome ownLastKnownPosition(const KopaPosition& lastKnown);
// The position the radio map gives for the measurements text: 41 when the text is not a
// measurements record, 45 when the map knows none of its transmitters.
Outcome ownConversion(const Scenario& scenario, const std::string& measurementsText);

// The outcome that a record's text becomes; 47 (internal error) when it has none.
Outcome textOutcome(int externalizeResult, const std::string& text);

std::int64_t nowMilliseconds();

#endif
