#ifndef KOPA_TEST_SIM_FIXTURE_H
#define KOPA_TEST_SIM_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SimControl.h"
#include "TraceCapture.h"

// A test against kopad-sim: its log starts empty, and the trace goes to a file of the test's.
class SimTest : public ::testing::Test {
  protected:
    void SetUp() override { sim.reset(); }

    // The service's answer to `member` from now on.
    void script(const std::string& member, const std::vector<std::string>& outcomes) {
        sim.pushOutcomes(member, outcomes);
    }

    SimControl sim;
    TraceCapture trace;
};

#endif
