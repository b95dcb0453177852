// Blocking requests that fail: service errors, time-outs, replies that cannot be read, a
// request that cannot be built.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "Records.h"
#include "SimFixture.h"

using namespace test_records;

namespace {

class BlockingFailures : public SimTest {
  protected:
    bool traced(const std::string& text) {
        auto lines = trace.lines();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    }

    KopaPositioning positioning{nullptr};
};

}  // namespace

TEST_F(BlockingFailures, EachServiceCodeBecomesItsResultAndLeavesTheRecordAlone) {
    const std::vector<std::pair<int, int>> codes = {{41, KOPA_ERROR_GENERAL},
                                                    {42, KOPA_ERROR_NOT_AUTHORIZED},
                                                    {43, KOPA_ERROR_NETWORK},
                                                    {44, KOPA_ERROR_NETWORK},
                                                    {45, KOPA_ERROR_INFORMATION_SHORTAGE},
                                                    {46, KOPA_ERROR_NOT_POSITIONED},
                                                    {47, KOPA_ERROR_GENERAL},
                                                    {51, KOPA_ERROR_GENERAL},
                                                    {52, KOPA_ERROR_SERVER},
                                                    {53, KOPA_ERROR_METHOD_NOT_SUPPORTED},
                                                    {54, KOPA_ERROR_NOT_POSITIONED},
                                                    {55, KOPA_ERROR_SERVER},
                                                    {56, KOPA_ERROR_SERVER},
                                                    {57, KOPA_ERROR_GENERAL},
                                                    {99, KOPA_ERROR_GENERAL}};
    const KopaPosition untouched = samplePosition(3.0, 4.0);
    for (const auto& [code, expected] : codes) {
        sim.reset();
        script("currentPosition", {"error " + std::to_string(code)});
        KopaPosition position = untouched;
        EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), expected)
            << "service code " << code;
        EXPECT_EQ(position, untouched);
    }
    EXPECT_FALSE(traced("KopaFwClient::currentPosition() ->"));
    EXPECT_TRUE(traced("KopaFwClient::sendMessageAndBlock() Error occured"));
}

TEST_F(BlockingFailures, EveryRequestMapsServiceErrorsTheSameWay) {
    for (const char* member : {"currentMeasurements", "lastKnownPosition", "convertToPosition"}) {
        script(member, {"error 46"});
    }
    KopaMeasurements measurements;
    KopaPosition position;
    EXPECT_EQ(positioning.currentMeasurements(measurements, 0, 5), KOPA_ERROR_NOT_POSITIONED);
    EXPECT_EQ(positioning.lastKnownPosition(position, 0), KOPA_ERROR_NOT_POSITIONED);
    EXPECT_EQ(
        positioning.convertToPosition(position, sampleMeasurements(), KOPA_PACKET_DATA_ALLOWED, 5),
        KOPA_ERROR_NOT_POSITIONED);
}

TEST_F(BlockingFailures, ASilentServiceTimesOutWithNoReply) {
    script("currentMeasurements", {"noreply"});
    KopaMeasurements measurements = sampleMeasurements();
    EXPECT_EQ(positioning.currentMeasurements(measurements, 0, 1), KOPA_ERROR_NO_REPLY);
    EXPECT_EQ(measurements, sampleMeasurements());
    EXPECT_FALSE(traced("KopaFwClient::currentMeasurements() ->"));
}

TEST_F(BlockingFailures, AReplyWithoutItsStringFailsAfterTheReplyWasReceived) {
    for (const char* outcome : {"noarg", "int32 5"}) {
        sim.reset();
        script("currentPosition", {outcome});
        trace.take();
        KopaPosition position = samplePosition();
        EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
                  KOPA_ERROR_GENERAL)
            << outcome;
        EXPECT_EQ(position, samplePosition());
        auto lines = trace.take();
        EXPECT_THAT(lines,
                    ::testing::Contains("KopaFwClient::currentPosition() Reply received OK"));
        EXPECT_EQ(lines.back(), "KopaFwClient::currentPosition() ->");
    }
}

TEST_F(BlockingFailures, ATextTheRecordCannotReadReturnsTheRecordsOwnCode) {
    script("currentPosition", {"reply this is no position"});
    KopaPosition position;
    KopaPosition probe;
    const int expected = probe.internalize("this is no position");
    ASSERT_NE(expected, 0);
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), expected);
    EXPECT_TRUE(traced("KopaFwClient::currentPosition() ->"));
}

TEST_F(BlockingFailures, ExtraReplyArgumentsAreIgnored) {
    const KopaPosition answer = samplePosition(10.0, 20.0);
    script("lastKnownPosition", {"extra " + textOf(answer)});
    KopaPosition position;
    EXPECT_EQ(positioning.lastKnownPosition(position, 0), KOPA_OK);
    EXPECT_EQ(position, answer);
}

TEST_F(BlockingFailures, MeasurementsThatCannotBecomeTextAreNeverSent) {
    KopaMeasurements measurements;
    KopaWlanObservation broken;
    broken.bssid = "not a bssid";
    measurements.addWlan(broken);
    KopaPosition position = samplePosition();
    EXPECT_EQ(positioning.convertToPosition(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    EXPECT_EQ(position, samplePosition());
    EXPECT_TRUE(sim.requests().empty());
    // The connection still works afterwards.
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
}

TEST_F(BlockingFailures, AnAsynchronousRequestOutstandingDoesNotBlockABlockingOne) {
    // Blocking requests are never registered, so no duplicate check applies to them.
    script("currentPosition", {"delay 200 reply", "reply"});
    struct Silent : KopaObserver {
        void requestCompleted(int, KopaRequestType) override {}
    } observer;
    KopaPositioning withObserver(&observer);
    KopaPosition asyncPosition, position;
    ASSERT_EQ(withObserver.currentPositionAsync(asyncPosition, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_OK);
    EXPECT_EQ(withObserver.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    withObserver.cancel();
}
