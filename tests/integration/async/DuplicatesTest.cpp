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
        script("lastKnownPosition", {"delay 400 reply"});
    }

    RecordingObserver observer;
    KopaPositioning positioning{&observer};
    KopaPosition first, second;
};

}  // namespace

TEST_F(Duplicates, ASecondRequestOfTheSameKindForTheSameObjectIsRefusedAndNotSent) {
    ASSERT_EQ(positioning.currentPositionAsync(first, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(positioning.currentPositionAsync(second, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_REQUEST_PENDING);
    ASSERT_EQ(positioning.lastKnownPositionAsync(first, 0), KOPA_OK);
    EXPECT_EQ(positioning.lastKnownPositionAsync(second, 0), KOPA_ERROR_REQUEST_PENDING);
    ASSERT_TRUE(observer.waitFor(2));
    EXPECT_EQ(sim.requests().size(), 2u);
    EXPECT_EQ(observer.count(), 2u) << "no completion for a refused request";
}

TEST_F(Duplicates, AnotherKindOrAnotherObjectIsAccepted) {
    KopaPositioning other(&observer);
    KopaMeasurements measurements;
    ASSERT_EQ(positioning.currentPositionAsync(first, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_OK);
    EXPECT_EQ(other.currentPositionAsync(second, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(3));
}

TEST_F(Duplicates, TheKindIsFreeAgainAfterTheCompletion) {
    ASSERT_EQ(positioning.currentPositionAsync(first, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(positioning.currentPositionAsync(second, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(2));
}

TEST_F(Duplicates, TheKindIsFreeAgainAfterACancel) {
    ASSERT_EQ(positioning.currentPositionAsync(first, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    positioning.cancel(KOPA_REQUEST_CURRENT_POSITION);
    EXPECT_EQ(positioning.currentPositionAsync(second, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(observer.count(), 1u);
}

TEST_F(Duplicates, ThreadsRacingWithTheSameRequestGetItAcceptedOnce) {
    // The check and the registration are one reservation: however the threads interleave,
    // exactly one of them sends.
    constexpr int kRounds = 20;
    constexpr int kThreads = 4;
    for (int round = 0; round < kRounds; ++round) {
        KopaPositioning contested(&observer);
        std::vector<KopaPosition> records(kThreads);
        std::vector<int> results(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&, t] {
                results[t] =
                    contested.currentPositionAsync(records[t], 0, KOPA_PACKET_DATA_ALLOWED, 5);
            });
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
