// The control log of requests and cancel signals, the waits on it, and calls the service
// refuses.
#include <gmock/gmock.h>

#include "SimTestSupport.h"

using ::testing::ElementsAre;

namespace {

class ControlLog : public KopadSim {};

}  // namespace

TEST_F(ControlLog, EachRequestIsLoggedWithItsSerialSenderAndArguments) {
    Answer position = client.request("currentPosition", currentPositionArgs(4294967295u, -7, 2));
    Answer measured = client.request("currentMeasurements", currentMeasurementsArgs(9));
    Answer converted = client.request("convertToPosition", convertArgs(measured.text));

    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].member, "currentPosition");
    EXPECT_EQ(requests[0].serial, position.serial);
    EXPECT_EQ(requests[0].sender, client.uniqueName());
    EXPECT_THAT(requests[0].numbers, ElementsAre(4294967295LL, -7LL, 2LL, 1LL));
    EXPECT_EQ(requests[0].args, "(4294967295, -7, 2, 1)");
    EXPECT_EQ(requests[1].member, "currentMeasurements");
    EXPECT_EQ(requests[1].serial, measured.serial);
    EXPECT_THAT(requests[1].numbers, ElementsAre(9LL));
    EXPECT_EQ(requests[2].member, "convertToPosition");
    EXPECT_EQ(requests[2].serial, converted.serial);
    EXPECT_EQ(requests[2].text, measured.text);
    EXPECT_THAT(requests[2].numbers, ElementsAre(0LL, 1LL, 1LL));

    sim.reset();
    EXPECT_TRUE(sim.requests().empty());
}

TEST_F(ControlLog, EachCancelSignalIsLoggedWithItsOwnSerialAndTheSerialsItCarries) {
    guint32 values[] = {17, 4294967295u};
    std::uint32_t first = client.sendCancel(g_variant_new(
        "(@au)", g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, values, 2, sizeof(guint32))));
    std::uint32_t second = client.sendCancel(g_variant_new(
        "(@au)", g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, nullptr, 0, sizeof(guint32))));
    ASSERT_TRUE(sim.waitForCancels(2));

    auto cancels = sim.cancels();
    ASSERT_EQ(cancels.size(), 2u);
    EXPECT_EQ(cancels[0].sender, client.uniqueName());
    EXPECT_EQ(cancels[0].signalSerial, first);
    EXPECT_THAT(cancels[0].serials, ElementsAre(17u, 4294967295u));
    EXPECT_EQ(cancels[1].signalSerial, second);
    EXPECT_TRUE(cancels[1].serials.empty());

    sim.reset();
    EXPECT_TRUE(sim.cancels().empty());
}

TEST_F(ControlLog, ACancelSignalOfAnotherSignatureIsNotLogged) {
    client.sendCancel(g_variant_new("(u)", 5u));
    std::uint32_t good = client.sendCancel(g_variant_new(
        "(@au)", g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, nullptr, 0, sizeof(guint32))));
    ASSERT_TRUE(sim.waitForCancels(1));
    auto cancels = sim.cancels();
    ASSERT_EQ(cancels.size(), 1u);
    EXPECT_EQ(cancels[0].signalSerial, good);
}

TEST_F(ControlLog, AWaitIsAnsweredWhenTheCountIsReachedWhileTheServiceGoesOn) {
    Answer wait;
    bool waited = false;
    client.requestAsync("com.ruvex.location.kopad.Simulator", "WaitForRequests",
                        g_variant_new("(uu)", 2u, 20000u), wait, waited);
    // The service answers requests while the wait is outstanding.
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Return);
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Return);
    ASSERT_TRUE(iterateUntilSet(waited));
    ASSERT_EQ(wait.signature, "b");
    gboolean reached = FALSE;
    g_variant_get(wait.body, "(b)", &reached);
    EXPECT_TRUE(reached);
}

TEST_F(ControlLog, AWaitAnswersFalseWhenItsTimeoutPassesFirst) {
    EXPECT_FALSE(sim.waitForRequests(1, 100));
    EXPECT_FALSE(sim.waitForCancels(1, 0));
    EXPECT_TRUE(sim.waitForCancels(0, 0));
}

TEST_F(ControlLog, ACallWithAWrongSignatureIsRefusedAndNotLogged) {
    Answer wrong = client.request("currentPosition", g_variant_new("(uii)", 1u, 1, 1));
    EXPECT_EQ(wrong.kind, Answer::Kind::Error);
    EXPECT_EQ(wrong.errorName, "org.freedesktop.DBus.Error.InvalidArgs");

    Answer none = client.request("convertToPosition", nullptr);
    EXPECT_EQ(none.errorName, "org.freedesktop.DBus.Error.InvalidArgs");

    Answer unknown = client.request("currentposition", currentPositionArgs());
    EXPECT_EQ(unknown.errorName, "org.freedesktop.DBus.Error.UnknownMethod");

    Answer control = client.call("com.ruvex.location.kopad.Simulator", "PushOutcomes",
                                 g_variant_new("(ss)", "currentPosition", "reply"));
    EXPECT_EQ(control.errorName, "org.freedesktop.DBus.Error.InvalidArgs");

    EXPECT_TRUE(sim.requests().empty());
}
