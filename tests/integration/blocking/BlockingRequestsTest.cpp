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

TEST_F(BlockingRequests, EachRequestFillsItsRecordAndSendsItsArgumentsBitForBit) {
    const KopaPosition current = samplePosition(61.5, 23.75);
    const KopaPosition last = samplePosition(1.25, -2.5);
    const KopaPosition converted = samplePosition(65.0, 25.5);
    const KopaMeasurements measured = sampleMeasurements();
    script("currentPosition", {"reply " + textOf(current)});
    script("currentMeasurements", {"reply " + textOf(measured)});
    script("lastKnownPosition", {"extra " + textOf(last)});  // extra arguments are ignored
    script("convertToPosition", {"reply " + textOf(converted)});
    KopaLocationInfo info;
    ASSERT_EQ(positioning.currentPosition(info, 4294967295u,
                                          static_cast<KopaPacketDataUsage>(-2147483647 - 1), 5),
              KOPA_OK);
    KopaMeasurements measurements;
    ASSERT_EQ(positioning.currentMeasurements(measurements, 123456789, 5), KOPA_OK);
    PositionOfType wide(0x12345, 0x10002);  // narrowed to their low 16 bits on the way
    ASSERT_EQ(positioning.lastKnownPosition(wide, 11), KOPA_OK);
    KopaPosition position;
    // A time-out too long for D-Bus waits without limit rather than wrapping to a short one.
    ASSERT_EQ(
        positioning.convertToPosition(position, measured, KOPA_PACKET_DATA_ALLOWED, 4294967295u),
        KOPA_OK);

    KopaPosition slot1;
    ASSERT_EQ(info.getKopaPosition(1, slot1), 0);
    EXPECT_EQ(slot1, current);
    EXPECT_FALSE(info.hasKopaPosition(2));
    EXPECT_EQ(measurements, measured);
    EXPECT_EQ(wide.latitude(), last.latitude());
    EXPECT_EQ(position, converted);
    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_EQ(requests[0].member, "currentPosition");
    EXPECT_THAT(requests[0].numbers, ElementsAre(4294967295LL, -2147483648LL, 2LL, 1LL));
    EXPECT_EQ(requests[1].member, "currentMeasurements");
    EXPECT_THAT(requests[1].numbers, ElementsAre(123456789LL));
    EXPECT_EQ(requests[2].member, "lastKnownPosition");
    EXPECT_THAT(requests[2].numbers, ElementsAre(11LL, 0x2345LL, 2LL));
    EXPECT_EQ(requests[3].member, "convertToPosition");
    EXPECT_EQ(requests[3].text, textOf(measured));
    EXPECT_THAT(requests[3].numbers, ElementsAre(1LL, 1LL, 1LL));
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
