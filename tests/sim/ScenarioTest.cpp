// Scenarios: the shipped examples, and what a scenario sets.
#include <gmock/gmock.h>

#include <dirent.h>

#include <fstream>
#include <sstream>

#include "SimTestSupport.h"

namespace {

class Scenarios : public KopadSim {
  protected:
    static std::string scenarioDir() {
        const char* source = std::getenv("KOPA_SOURCE_DIR");
        return std::string(source ? source : ".") + "/service/scenarios";
    }

    static std::string read(const std::string& path) {
        std::ifstream file(path);
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }
};

}  // namespace

TEST_F(Scenarios, EveryShippedScenarioLoads) {
    DIR* dir = opendir(scenarioDir().c_str());
    ASSERT_NE(dir, nullptr) << scenarioDir();
    int loaded = 0;
    while (dirent* entry = readdir(dir)) {
        std::string name = entry->d_name;
        if (name.size() > 9 && name.substr(name.size() - 9) == ".scenario") {
            EXPECT_NO_THROW(sim.loadScenario(read(scenarioDir() + "/" + name))) << name;
            ++loaded;
        }
    }
    closedir(dir);
    EXPECT_GE(loaded, 2);
}

TEST_F(Scenarios, TheHelsinkiScenarioIsTheBuiltInWorld) {
    std::string builtIn = client.request("currentMeasurements", currentMeasurementsArgs()).text;
    KopaPosition before = positionFrom(client.request("lastKnownPosition", lastKnownArgs()));
    sim.loadScenario(read(scenarioDir() + "/helsinki.scenario"));
    EXPECT_EQ(client.request("currentMeasurements", currentMeasurementsArgs()).text, builtIn);
    KopaPosition after = positionFrom(client.request("lastKnownPosition", lastKnownArgs()));
    before.clearTimestamp();
    after.clearTimestamp();
    EXPECT_EQ(after, before);
    Answer converted = client.request("convertToPosition", convertArgs(builtIn));
    EXPECT_EQ(converted.kind, Answer::Kind::Return);
}

TEST_F(Scenarios, AScenarioSetsThePositionMeasurementsAndDefaultOutcomes) {
    sim.loadScenario(R"(# a test world
position -33.5 151.25 12
altitude 40
timestamp 1700000000000
wlan 02:00:00:00:00:0A,-61
outcome currentMeasurements error 46
outcome currentMeasurements reply
outcome * delay 0 reply
)");
    KopaPosition position = positionFrom(client.request("currentPosition", currentPositionArgs()));
    EXPECT_EQ(position.latitude(), -33.5);
    EXPECT_EQ(position.longitude(), 151.25);
    EXPECT_EQ(position.horizontalAccuracy(), 12);
    EXPECT_EQ(position.altitude(), 40);
    EXPECT_EQ(position.timestamp(), 1700000000000);

    EXPECT_EQ(client.request("currentMeasurements", currentMeasurementsArgs()).message,
              "Not positioned (46)");
    Answer measured = client.request("currentMeasurements", currentMeasurementsArgs());
    KopaMeasurements measurements;
    ASSERT_EQ(measurements.internalize(measured.text), 0) << measured.text;
    ASSERT_EQ(measurements.wlans().size(), 1u);
    EXPECT_EQ(measurements.wlans()[0].bssid, "02:00:00:00:00:0a");
    EXPECT_TRUE(measurements.cells().empty());

    // Reset goes back to the scenario's outcomes, not to none.
    sim.reset();
    EXPECT_EQ(client.request("currentMeasurements", currentMeasurementsArgs()).kind,
              Answer::Kind::Error);
}

TEST_F(Scenarios, ABrokenScenarioIsRefusedWithItsLineAndTheOldOneStays) {
    sim.pushOutcomes("currentPosition", {"error 55"});
    for (const char* broken :
         {"position 91 0", "\n\nmap cell lte,1,2 10 10", "wlan 02:00:00:00:00,-50",
          "outcome nowhere reply", "outcome currentPosition maybe", "colour blue"}) {
        try {
            sim.loadScenario(broken);
            ADD_FAILURE() << broken << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), ::testing::HasSubstr("InvalidArgs: line "));
        }
    }
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).message,
              "Server error (55)");
}
