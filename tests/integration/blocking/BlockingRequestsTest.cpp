// The four blocking requests answered by kopad-sim: records filled, arguments as they reached
// the service, the trace of a whole request.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Records.h"
#include "SimFixture.h"

using ::testing::ElementsAre;
using namespace test_records;

namespace {

class BlockingRequests : public SimTest {
  protected:
    KopaPositioning positioning{nullptr};
};

}  // namespace

TEST_F(BlockingRequests, CurrentPositionFillsTheRecordWithTheServiceAnswer) {
    const KopaPosition answer = samplePosition(61.5, 23.75);
    script("currentPosition", {"reply " + textOf(answer)});
    KopaPosition position;
    ASSERT_EQ(positioning.currentPosition(position, 7, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(position, answer);
}

TEST_F(BlockingRequests, CurrentMeasurementsFillsTheRecord) {
    const KopaMeasurements answer = sampleMeasurements();
    script("currentMeasurements", {"reply " + textOf(answer)});
    KopaMeasurements measurements;
    ASSERT_EQ(positioning.currentMeasurements(measurements, 9, 5), KOPA_OK);
    EXPECT_EQ(measurements, answer);
}

TEST_F(BlockingRequests, LastKnownPositionFillsTheRecord) {
    const KopaPosition answer = samplePosition(1.25, -2.5);
    script("lastKnownPosition", {"reply " + textOf(answer)});
    KopaPosition position;
    ASSERT_EQ(positioning.lastKnownPosition(position, 11), KOPA_OK);
    EXPECT_EQ(position, answer);
}

TEST_F(BlockingRequests, ConvertToPositionSendsTheMeasurementsTextAndFillsTheRecord) {
    const KopaPosition answer = samplePosition(65.0, 25.5);
    script("convertToPosition", {"reply " + textOf(answer)});
    KopaPosition position;
    const KopaMeasurements measurements = sampleMeasurements();
    ASSERT_EQ(positioning.convertToPosition(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_OK);
    EXPECT_EQ(position, answer);
    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].member, "convertToPosition");
    EXPECT_EQ(requests[0].text, textOf(measurements));
}

TEST_F(BlockingRequests, ALocationInfoReceivesTheAnswerInItsFirstSlot) {
    const KopaPosition answer = samplePosition(60.0, 24.0);
    script("currentPosition", {"reply " + textOf(answer)});
    KopaLocationInfo info;
    ASSERT_EQ(positioning.currentPosition(info, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    KopaPosition first;
    ASSERT_EQ(info.getKopaPosition(1, first), 0);
    EXPECT_EQ(first, answer);
    EXPECT_FALSE(info.hasKopaPosition(2));
    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_THAT(requests[0].numbers,
                ElementsAre(0LL, 1LL, 2LL, static_cast<long long>(info.version())));
}

TEST_F(BlockingRequests, ArgumentsReachTheServiceBitForBit) {
    KopaPosition position;
    ASSERT_EQ(positioning.currentPosition(position, 4294967295u,
                                          static_cast<KopaPacketDataUsage>(-2147483647 - 1), 5),
              KOPA_OK);
    PositionOfType wide(0x12345, 0x10002);  // narrowed to their low 16 bits on the way
    ASSERT_EQ(positioning.lastKnownPosition(wide, 0), KOPA_OK);
    KopaMeasurements measurements;
    ASSERT_EQ(positioning.currentMeasurements(measurements, 123456789, 5), KOPA_OK);

    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 3u);
    EXPECT_EQ(requests[0].member, "currentPosition");
    EXPECT_THAT(requests[0].numbers, ElementsAre(4294967295LL, -2147483648LL, 1LL, 1LL));
    EXPECT_EQ(requests[1].member, "lastKnownPosition");
    EXPECT_THAT(requests[1].numbers, ElementsAre(0LL, 0x2345LL, 2LL));
    EXPECT_EQ(requests[2].member, "currentMeasurements");
    EXPECT_THAT(requests[2].numbers, ElementsAre(123456789LL));
}

TEST_F(BlockingRequests, ATimeoutTooLongForDbusStillGetsItsAnswer) {
    KopaPosition position;
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 4294967295u),
              KOPA_OK);
}

TEST_F(BlockingRequests, ANullObserverObjectNeverCallsAnyObserver) {
    script("convertToPosition", {"reply " + textOf(samplePosition())});
    KopaPosition position;
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(
        positioning.convertToPosition(position, sampleMeasurements(), KOPA_PACKET_DATA_ALLOWED, 5),
        KOPA_OK);
}

TEST_F(BlockingRequests, TraceAWholeRequestInOrder) {
    trace.take();
    KopaPosition position;
    ASSERT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    const std::string serial = std::to_string(sim.requests().at(0).serial);
    std::vector<std::string> lines = trace.take();
    // The parser's lines sit between "Reply received OK" and the exit line.
    ASSERT_GE(lines.size(), 11u);
    EXPECT_THAT(
        std::vector<std::string>(lines.begin(), lines.begin() + 10),
        ElementsAre("KopaFwClient::KopaFwClient()", "KopaFwClient::initKopaFwClient() <-",
                    "KopaFwClient::initKopaFwClient() ->", "KopaFwClient::currentPosition() <-",
                    "KopaDbusMessageWriter::writeCurrentPositionRequest() <-",
                    "KopaDbusMessageWriter::writeCurrentPositionRequest() ->",
                    "KopaFwClient::sendMessageAndBlock() <-",
                    "KopaFwClient::sendMessageAndBlock()  set serial: " + serial,
                    "KopaFwClient::sendMessageAndBlock() ->",
                    "KopaFwClient::currentPosition() Reply received OK"));
    EXPECT_EQ(lines[10], "KopaDbusMessageParser::parsePositionResponse() <-");
    EXPECT_EQ(lines.back(), "KopaFwClient::currentPosition() ->");
}
