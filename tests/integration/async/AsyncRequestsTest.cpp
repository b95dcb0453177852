// Asynchronous requests completed from the main loop: records, request types, failures.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "MainLoop.h"
#include "Records.h"
#include "SimFixture.h"
#include "pending/PendingStates.h"

using namespace test_records;

namespace {

class AsyncRequests : public SimTest {
  protected:
    bool traced(const std::string& text) {
        auto lines = trace.lines();
        return std::find(lines.begin(), lines.end(), text) != lines.end();
    }

    RecordingObserver observer;
    KopaPositioning positioning{&observer};
};

}  // namespace

TEST_F(AsyncRequests, EachRequestCompletesWithItsRecordFilledAndItsType) {
    const KopaPosition current = samplePosition(1.0, 2.0);
    const KopaPosition last = samplePosition(3.0, 4.0);
    const KopaPosition converted = samplePosition(5.0, 6.0);
    const KopaMeasurements measured = sampleMeasurements();
    script("currentPosition", {"reply " + textOf(current)});
    script("lastKnownPosition", {"reply " + textOf(last)});
    script("convertToPosition", {"reply " + textOf(converted)});
    script("currentMeasurements", {"reply " + textOf(measured)});

    KopaPosition a, b, c;
    KopaMeasurements m;
    ASSERT_EQ(positioning.currentPositionAsync(a, 1, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.currentMeasurementsAsync(m, 2, 5), KOPA_OK);
    ASSERT_EQ(positioning.lastKnownPositionAsync(b, 3), KOPA_OK);
    ASSERT_EQ(positioning.convertToPositionAsync(c, measured, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_OK);
    ASSERT_TRUE(observer.waitFor(4));

    std::vector<KopaRequestType> types;
    for (auto completion : observer.completions()) {
        EXPECT_EQ(completion.result, KOPA_OK);
        types.push_back(completion.type);
    }
    EXPECT_THAT(types, ::testing::UnorderedElementsAre(
                           KOPA_REQUEST_CURRENT_POSITION, KOPA_REQUEST_CURRENT_MEASUREMENTS,
                           KOPA_REQUEST_LAST_KNOWN_POSITION, KOPA_REQUEST_CONVERT_TO_POSITION));
    EXPECT_EQ(a, current);
    EXPECT_EQ(m, measured);
    EXPECT_EQ(b, last);
    EXPECT_EQ(c, converted);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}

TEST_F(AsyncRequests, TheRecordIsUntouchedUntilTheCompletion) {
    script("currentPosition", {"delay 200 reply " + textOf(samplePosition(7.0, 8.0))});
    KopaPosition position;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(position, KopaPosition());
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(position, samplePosition(7.0, 8.0));
}

TEST_F(AsyncRequests, ALocationInfoIsFilledThroughItsFirstSlot) {
    script("currentPosition", {"reply " + textOf(samplePosition(9.0, 10.0))});
    KopaLocationInfo info;
    ASSERT_EQ(positioning.currentPositionAsync(info, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    KopaPosition first;
    ASSERT_EQ(info.getKopaPosition(1, first), 0);
    EXPECT_EQ(first, samplePosition(9.0, 10.0));
}

TEST_F(AsyncRequests, ATimeoutIsDeliveredOnceAsNoReplyAndTheEntryIsGone) {
    script("currentMeasurements", {"noreply"});
    KopaMeasurements measurements = sampleMeasurements();
    ASSERT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 1), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    // Anything else that arrives would come before this second request's answer.
    sim.reset();
    KopaPosition position;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(2));
    auto completions = observer.completions();
    ASSERT_EQ(completions.size(), 2u);
    EXPECT_EQ(completions[0].result, KOPA_ERROR_NO_REPLY);
    EXPECT_EQ(completions[0].type, KOPA_REQUEST_CURRENT_MEASUREMENTS);
    EXPECT_EQ(measurements, sampleMeasurements());
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}

TEST_F(AsyncRequests, ErrorRepliesReachTheObserverWithTheirMappedCode) {
    script("currentPosition", {"error 54"});
    script("lastKnownPosition", {"error 42 (42) refused"});
    script("convertToPosition", {"dbus-error org.freedesktop.DBus.Error.Failed broken"});
    KopaPosition a = samplePosition(), b, c;
    ASSERT_EQ(positioning.currentPositionAsync(a, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.lastKnownPositionAsync(b, 0), KOPA_OK);
    ASSERT_EQ(
        positioning.convertToPositionAsync(c, sampleMeasurements(), KOPA_PACKET_DATA_ALLOWED, 5),
        KOPA_OK);
    ASSERT_TRUE(observer.waitFor(3));
    for (auto completion : observer.completions()) {
        switch (completion.type) {
            case KOPA_REQUEST_CURRENT_POSITION:
                EXPECT_EQ(completion.result, KOPA_ERROR_NOT_POSITIONED);
                break;
            case KOPA_REQUEST_LAST_KNOWN_POSITION:
                EXPECT_EQ(completion.result, KOPA_ERROR_NOT_AUTHORIZED);
                break;
            default:
                EXPECT_EQ(completion.result, KOPA_ERROR_GENERAL);
        }
    }
    EXPECT_EQ(a, samplePosition());
}

TEST_F(AsyncRequests, UnreadableRepliesAreReportedAsGeneralFailures) {
    script("currentPosition", {"noarg"});
    script("lastKnownPosition", {"int32 3"});
    script("currentMeasurements", {"reply no measurements here"});
    KopaPosition a, b;
    KopaMeasurements m;
    ASSERT_EQ(positioning.currentPositionAsync(a, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.lastKnownPositionAsync(b, 0), KOPA_OK);
    ASSERT_EQ(positioning.currentMeasurementsAsync(m, 0, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(3));
    for (auto completion : observer.completions()) {
        EXPECT_EQ(completion.result, KOPA_ERROR_GENERAL) << completion.type;
    }
    EXPECT_TRUE(traced("[requestPendingBlockThread] ERROR: DBus response parsing failed"));
}

TEST_F(AsyncRequests, TheTraceOfACompletionFollowsItsSteps) {
    KopaPosition position;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    const std::string serial = std::to_string(sim.requests().at(0).serial);
    EXPECT_TRUE(traced("KopaFwClient::sendMessageWithoutBlock()  set serial: " + serial));
    EXPECT_TRUE(traced("KopaFwClient::currentPositionAsync() ->"));
    trace.take();
    ASSERT_TRUE(observer.waitFor(1));
    auto lines = trace.take();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines.front(), "[PendingNotify] CALLBACK <-");
    EXPECT_EQ(
        lines[lines.size() - 2].rfind("PendingStates::removePendingThread() PendingEntry @", 0),
        0u);
    EXPECT_EQ(lines.back(), "[PendingNotify] CALLBACK ->");
}

TEST_F(AsyncRequests, WithoutAnObserverNothingIsSentConnectedOrTraced) {
    KopaPositioning blind(nullptr);
    trace.take();
    KopaPosition position;
    KopaMeasurements measurements;
    EXPECT_EQ(blind.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_NO_OBSERVER);
    EXPECT_EQ(blind.currentMeasurementsAsync(measurements, 0, 5), KOPA_ERROR_NO_OBSERVER);
    EXPECT_EQ(blind.lastKnownPositionAsync(position, 0), KOPA_ERROR_NO_OBSERVER);
    EXPECT_EQ(blind.convertToPositionAsync(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_NO_OBSERVER);
    EXPECT_TRUE(trace.take().empty());
    EXPECT_TRUE(sim.requests().empty());
}

TEST_F(AsyncRequests, TwoObjectsSharingAnObserverEachGetTheirCompletion) {
    KopaPositioning other(&observer);
    KopaPosition first, second;
    ASSERT_EQ(positioning.currentPositionAsync(first, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(other.currentPositionAsync(second, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(2));
    for (auto completion : observer.completions()) {
        EXPECT_EQ(completion.result, KOPA_OK);
        EXPECT_EQ(completion.type, KOPA_REQUEST_CURRENT_POSITION);
    }
}
