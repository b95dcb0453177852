#ifndef KOPAD_SIM_SCENARIO_H
#define KOPAD_SIM_SCENARIO_H

#include <KopaMeasurements.h>
#include <KopaPosition.h>

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Outcome.h"
#include "RadioMap.h"
#include "Track.h"

// The request members of the service, in the order the documentation lists them.
extern const std::array<const char*, 4> kRequestMembers;
bool isRequestMember(const std::string& member);

// The simulated world: the position and measurements it reports, the radio map its
// conversions use, and the outcomes each request member starts with.
struct Scenario {
    KopaPosition position;
    bool fixedTimestamp = false;  // else each answer is stamped with the time it is sent
    KopaMeasurements measurements;
    RadioMap radioMap;
    std::map<std::string, std::vector<Outcome>> outcomes;  // by member
    // A recorded journey that the positions follow instead of `position`, and where it came
    // from (a file, or "LoadTrack"); null for a device that stays put.
    std::shared_ptr<const Track> track;
    std::string trackSource;

    // Helsinki, with a small radio map around the measurements it reports.
    static Scenario builtIn();
};

// What a scenario's lines are read against: the folder its `track` paths are relative to, and
// how tracks are read.
struct ScenarioContext {
    std::string directory = ".";
    TrackSettings track;
};

// Reads a scenario text on top of `scenario` (see docs/kopad-sim.md). A position line replaces
// the position; the first observation line replaces the measurements and the first map line
// the radio map; outcome lines append. On failure `scenario` is unchanged and `why` names the
// line.
bool parseScenario(const std::string& text, Scenario& scenario, std::string& why,
                   const ScenarioContext& context = ScenarioContext());

// Appends an outcome to one member's defaults, or to all four for "*".
bool addDefaultOutcome(Scenario& scenario, const std::string& member, const std::string& text,
                       std::string& why);

// "LAT,LON[,ACCURACY]" of the --position option: a new position, as a scenario's position line
// makes it (the fields of the one before are forgotten).
bool parsePositionOption(const std::string& text, Scenario& scenario, std::string& why);

#endif
