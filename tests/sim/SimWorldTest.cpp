// kopad-sim's scenarios, which the demo and the library's tests take for granted.
#include <gmock/gmock.h>

#include <dirent.h>

#include <fstream>
#include <sstream>

#include "SimControl.h"

namespace {

std::string scenarioDir() {
    const char* source = std::getenv("KOPA_SOURCE_DIR");
    return std::string(source ? source : ".") + "/service/scenarios";
}

}  // namespace

TEST(KopadSim, EveryShippedScenarioLoadsAndABrokenOneIsRefusedByLine) {
    SimControl sim;
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
