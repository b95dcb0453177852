// What kopad-sim computes on its own, which the library's tests take for granted: its
// scenarios and its conversion of measurements into a position.
#include <gmock/gmock.h>

#include <dirent.h>

#include <fstream>
#include <sstream>

#include "SimTestSupport.h"

namespace {

std::string scenarioDir() {
    const char* source = std::getenv("KOPA_SOURCE_DIR");
    return std::string(source ? source : ".") + "/service/scenarios";
}

KopaWlanObservation wlan(const std::string& bssid, int dBm) {
    KopaWlanObservation observation;
    observation.bssid = bssid;
    observation.signalStrength = dBm;
    return observation;
}

}  // namespace

TEST_F(KopadSim, EveryShippedScenarioLoadsAndABrokenOneIsRefusedByLine) {
    DIR* dir = opendir(scenarioDir().c_str());
    ASSERT_NE(dir, nullptr) << scenarioDir();
    int loaded = 0;
    while (dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name.size() > 9 && name.substr(name.size() - 9) == ".scenario") {
            std::ifstream file(scenarioDir() + "/" + name);
            std::stringstream text;
            text << file.rdbuf();
            EXPECT_NO_THROW(sim.loadScenario(text.str())) << name;
            ++loaded;
        }
    }
    closedir(dir);
    EXPECT_GE(loaded, 2);
    for (const char* broken : {"position 91 0", "\n\nmap cell lte,1,2 10 10",
                               "outcome currentPosition maybe", "colour blue"}) {
        try {
            sim.loadScenario(broken);
            ADD_FAILURE() << broken << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), ::testing::HasSubstr("InvalidArgs: line "));
        }
    }
}

TEST_F(KopadSim, ConversionAnswersTheSignalWeightedCentroidOfKnownAccessPoints) {
    sim.loadScenario(
        "map wlan 02:00:00:00:00:01 10.0 20.00\n"
        "map wlan 02:00:00:00:00:02 10.0 20.01 60\n");
    KopaMeasurements measurements;
    measurements.addWlan(wlan("02:00:00:00:00:01", -50));  // weight 70
    measurements.addWlan(wlan("02:00:00:00:00:02", -90));  // weight 30
    measurements.addWlan(wlan("02:00:00:00:00:99", -30));  // not on the map: ignored
    KopaPosition position =
        positionFrom(client.request("convertToPosition", convertArgs(textOf(measurements))));
    EXPECT_NEAR(position.latitude(), 10.0, 1e-6);
    EXPECT_NEAR(position.longitude(), 20.003, 1e-6);
    EXPECT_EQ(position.method(), KopaPositionMethod::Wlan);

    Answer unknown = client.request("convertToPosition", convertArgs(textOf(KopaMeasurements())));
    EXPECT_EQ(unknown.message, "Information shortage (45)");
}
