#ifndef KOPA_TEST_SIM_TEST_SUPPORT_H
#define KOPA_TEST_SIM_TEST_SUPPORT_H

#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <gtest/gtest.h>

#include <string>

#include "ServiceClient.h"
#include "SimControl.h"

// kopad-sim on the private bus, its logs and queues fresh for each test.
class KopadSim : public ::testing::Test {
  protected:
    void SetUp() override { sim.reset(); }

    static GVariant* currentPositionArgs(guint32 parameter = 0, gint32 usage = 0,
                                         guint16 classType = 1) {
        return g_variant_new("(uiqq)", parameter, usage, classType, guint16{1});
    }
    static GVariant* currentMeasurementsArgs(guint32 parameter = 0) {
        return g_variant_new("(u)", parameter);
    }
    static GVariant* lastKnownArgs() { return g_variant_new("(uqq)", 0u, guint16{1}, guint16{1}); }
    static GVariant* convertArgs(const std::string& text, guint16 classType = 1) {
        return g_variant_new("(siqq)", text.c_str(), 0, classType, guint16{1});
    }

    static KopaPosition positionFrom(const Answer& answer) {
        KopaPosition position;
        EXPECT_EQ(answer.kind, Answer::Kind::Return) << answer.errorName << " " << answer.message;
        EXPECT_EQ(position.internalize(answer.text), 0) << answer.text;
        return position;
    }

    static std::string textOf(const KopaPosition& position) {
        std::string text;
        position.externalize(text);
        return text;
    }
    static std::string textOf(const KopaMeasurements& measurements) {
        std::string text;
        measurements.externalize(text);
        return text;
    }

    SimControl sim;
    ServiceClient client;
};

#endif
