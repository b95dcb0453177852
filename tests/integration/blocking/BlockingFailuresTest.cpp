// Blocking requests that fail: service errors, time-outs, replies that cannot be read, a
// request that cannot be built.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Records.h"
#include "SimFixture.h"

using ::testing::Contains;
using ::testing::Not;
using namespace test_records;

namespace {

class BlockingFailures : public SimTest {
  protected:
    KopaPositioning positioning{nullptr};
};

}  // namespace

TEST_F(BlockingFailures, EachFailingAnswerBecomesItsResultAndLeavesTheRecordAlone) {
    const std::string exit = "KopaFwClient::currentPosition() ->";
    const std::string received = "KopaFwClient::currentPosition() Reply received OK";
    const struct {
        const char* outcome;
        int result;
        bool replyReceived;  // and so the exit line written
    } cases[] = {
        {"error 42", KOPA_ERROR_NOT_AUTHORIZED, false},
        {"error 44", KOPA_ERROR_NETWORK, false},
        {"error 45", KOPA_ERROR_INFORMATION_SHORTAGE, false},
        {"error 53", KOPA_ERROR_METHOD_NOT_SUPPORTED, false},
        {"error 54", KOPA_ERROR_NOT_POSITIONED, false},
        {"error 55", KOPA_ERROR_SERVER, false},
        {"error 99", KOPA_ERROR_GENERAL, false},
        {"noreply", KOPA_ERROR_NO_REPLY, false},
        {"noarg", KOPA_ERROR_GENERAL, true},
        {"int32 5", KOPA_ERROR_GENERAL, true},
        {"reply KopaPosition/1 lat=1", KOPA_TEXT_MISSING_FIELD, true},
    };
    for (const auto& c : cases) {
        sim.reset();
        script("currentPosition", {c.outcome});
        trace.take();
        KopaPosition position = samplePosition();
        EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 1), c.result)
            << c.outcome;
        EXPECT_EQ(position, samplePosition()) << c.outcome;
        auto lines = trace.take();
        if (c.replyReceived) {
            EXPECT_THAT(lines, Contains(received)) << c.outcome;
            EXPECT_EQ(lines.back(), exit) << c.outcome;
        } else {
            EXPECT_THAT(lines, Contains("KopaFwClient::sendMessageAndBlock() Error occured"))
                << c.outcome;
            EXPECT_THAT(lines, Not(Contains(exit))) << c.outcome;
        }
    }
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
