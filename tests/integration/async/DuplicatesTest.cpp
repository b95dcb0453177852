// One outstanding request per kind and object.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "MainLoop.h"
#include "SimFixture.h"
#include "pending/PendingStates.h"

namespace {

class Duplicates : public SimTest {
  protected:
    void SetUp() override {
        SimTest::SetUp();
        // Long enough that the first request is surely outstanding while the test goes on.
        script("currentPosition", {"delay 400 reply"});
    }
    int requestPosition(KopaPositioning& owner, KopaPosition& record) {
        return owner.currentPositionAsync(record, 0, KOPA_PACKET_DATA_ALLOWED, 5);
    }
    RecordingObserver observer;
    KopaPositioning positioning{&observer};
    KopaPosition first, second;
};

}  // namespace

TEST_F(Duplicates, TheSameKindForTheSameObjectIsRefusedUntilCompletedOrCancelled) {
    KopaPositioning other(&observer);
    KopaMeasurements measurements;
    ASSERT_EQ(requestPosition(positioning, first), KOPA_OK);
    EXPECT_EQ(requestPosition(positioning, second), KOPA_ERROR_REQUEST_PENDING);
    EXPECT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_OK);
    EXPECT_EQ(requestPosition(other, second), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(3));
    EXPECT_EQ(sim.requests().size(), 3u) << "a refused request is not sent";

    ASSERT_EQ(requestPosition(positioning, first), KOPA_OK);  // free again after completion
    positioning.cancel(KOPA_REQUEST_CURRENT_POSITION);
    EXPECT_EQ(requestPosition(positioning, second), KOPA_OK);  // and after a cancel
    ASSERT_TRUE(observer.waitFor(4));
    EXPECT_EQ(observer.count(), 4u) << "no completion for a refused or cancelled request";
}

TEST_F(Duplicates, ThreadsRacingWithTheSameRequestGetItAcceptedOnce) {
    // The check and the registration are one reservation: however the threads interleave,
    // exactly one of them sends.
    constexpr int kThreads = 4;
    for (int round = 0; round < 20; ++round) {
        KopaPositioning contested(&observer);
        std::vector<KopaPosition> records(kThreads);
        std::vector<int> results(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] { results[t] = requestPosition(contested, records[t]); });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(std::count(results.begin(), results.end(), KOPA_OK), 1) << "round " << round;
        EXPECT_EQ(std::count(results.begin(), results.end(), KOPA_ERROR_REQUEST_PENDING),
                  kThreads - 1);
        contested.cancel();
    }
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}
