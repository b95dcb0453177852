// Asynchronous requests completed from the main loop: records, request types, failures.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

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
    // The result each request type completed with.
    std::map<KopaRequestType, int> results() {
        std::map<KopaRequestType, int> byType;
        for (auto completion : observer.completions()) {
            EXPECT_EQ(byType.count(completion.type), 0u) << "two completions of one request";
            byType[completion.type] = completion.result;
        }
        return byType;
    }
    RecordingObserver observer;
    KopaPositioning positioning{&observer};
};

}  // namespace

TEST_F(AsyncRequests, EachRequestCompletesOnceWithItsRecordFilledAndItsType) {
    const KopaPosition current = samplePosition(1.0, 2.0);
    const KopaPosition last = samplePosition(3.0, 4.0);
    const KopaPosition converted = samplePosition(5.0, 6.0);
    const KopaMeasurements measured = sampleMeasurements();
    script("currentPosition", {"delay 200 reply " + textOf(current)});
    script("lastKnownPosition", {"reply " + textOf(last)});
    script("convertToPosition", {"reply " + textOf(converted)});
    script("currentMeasurements", {"reply " + textOf(measured)});
    KopaPosition a, c;
    KopaLocationInfo b;
    KopaMeasurements m;
    ASSERT_EQ(positioning.currentPositionAsync(a, 1, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.currentMeasurementsAsync(m, 2, 5), KOPA_OK);
    ASSERT_EQ(positioning.lastKnownPositionAsync(b, 3), KOPA_OK);
    ASSERT_EQ(positioning.convertToPositionAsync(c, measured, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_OK);
    EXPECT_EQ(a, KopaPosition()) << "the record is untouched until the completion";
    ASSERT_TRUE(observer.waitFor(4));
    EXPECT_EQ(results(),
              (std::map<KopaRequestType, int>{{KOPA_REQUEST_CURRENT_POSITION, KOPA_OK},
                                              {KOPA_REQUEST_CURRENT_MEASUREMENTS, KOPA_OK},
                                              {KOPA_REQUEST_LAST_KNOWN_POSITION, KOPA_OK},
                                              {KOPA_REQUEST_CONVERT_TO_POSITION, KOPA_OK}}));
    EXPECT_EQ(a, current);
    EXPECT_EQ(m, measured);
    KopaPosition slot1;
    ASSERT_EQ(b.getKopaPosition(1, slot1), 0);
    EXPECT_EQ(slot1, last);
    EXPECT_EQ(c, converted);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}

TEST_F(AsyncRequests, FailuresReachTheObserverWithTheirCodeAndLeaveTheRecordAlone) {
    script("currentPosition", {"error 54"});
    script("lastKnownPosition", {"int32 3"});
    script("convertToPosition", {"dbus-error org.freedesktop.DBus.Error.Failed broken"});
    script("currentMeasurements", {"noreply"});
    KopaPosition a = samplePosition(), b, c;
    KopaMeasurements m = sampleMeasurements();
    ASSERT_EQ(positioning.currentPositionAsync(a, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.lastKnownPositionAsync(b, 0), KOPA_OK);
    ASSERT_EQ(positioning.convertToPositionAsync(c, m, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.currentMeasurementsAsync(m, 0, 1), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(4));
    EXPECT_EQ(results(), (std::map<KopaRequestType, int>{
                             {KOPA_REQUEST_CURRENT_POSITION, KOPA_ERROR_NOT_POSITIONED},
                             {KOPA_REQUEST_CURRENT_MEASUREMENTS, KOPA_ERROR_NO_REPLY},
                             {KOPA_REQUEST_LAST_KNOWN_POSITION, KOPA_ERROR_GENERAL},
                             {KOPA_REQUEST_CONVERT_TO_POSITION, KOPA_ERROR_GENERAL}}));
    EXPECT_EQ(a, samplePosition());
    EXPECT_EQ(m, sampleMeasurements());
    EXPECT_TRUE(traced("[requestPendingBlockThread] ERROR: DBus response parsing failed"));
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
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
