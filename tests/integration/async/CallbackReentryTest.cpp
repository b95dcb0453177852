// What an observer may do from inside requestCompleted, and what it must not break.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "MainLoop.h"
#include "SimFixture.h"
#include "pending/PendingStates.h"

namespace {

class CallbackReentry : public SimTest {
  protected:
    RecordingObserver observer;
    KopaPositioning positioning{&observer};
    KopaPosition position, again;
};

}  // namespace

TEST_F(CallbackReentry, TheSameKindIsRefusedInsideTheCallbackEvenWhenTheObserverThrows) {
    int insideResult = KOPA_OK;
    observer.onCompletion([&](int, KopaRequestType) {
        if (observer.count() == 1) {
            insideResult = positioning.currentPositionAsync(again, 0, KOPA_PACKET_DATA_ALLOWED, 5);
            throw std::runtime_error("observer bug");
        }
    });
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(insideResult, KOPA_ERROR_REQUEST_PENDING);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
    EXPECT_EQ(positioning.currentPositionAsync(again, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(2));
}

TEST_F(CallbackReentry, CancellingTheRequestBeingDeliveredThenRequestingAgainKeepsBothApart) {
    int insideResult = KOPA_ERROR_GENERAL;
    observer.onCompletion([&](int, KopaRequestType) {
        if (observer.count() == 1) {
            positioning.cancel(KOPA_REQUEST_CURRENT_POSITION);
            // The freed kind is accepted again; this new entry must not be mistaken for the
            // one whose delivery is still unwinding.
            insideResult = positioning.currentPositionAsync(again, 0, KOPA_PACKET_DATA_ALLOWED, 5);
        }
    });
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(insideResult, KOPA_OK);
    EXPECT_EQ(pendingStatesP()->entryCount(), 1u) << "the new request is still outstanding";
    ASSERT_TRUE(observer.waitFor(2));
    EXPECT_EQ(observer.completions()[1].result, KOPA_OK);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
    ASSERT_TRUE(sim.waitForCancels(1));
    EXPECT_EQ(sim.cancels()[0].serials.at(0), sim.requests().at(0).serial);
}

TEST_F(CallbackReentry, ACancelFromAnotherThreadWaitsForTheDeliveryUnderWay) {
    std::atomic<bool> inCallback{false};
    std::atomic<bool> cancelStarted{false};
    std::atomic<bool> callbackRunningWhenCancelReturned{true};
    observer.onCompletion([&](int, KopaRequestType) {
        inCallback = true;
        while (!cancelStarted) {
            std::this_thread::yield();
        }
        // Give the cancel every chance to overtake us, then finish.
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::yield();
        }
        inCallback = false;
    });
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    std::thread canceller([&] {
        while (!inCallback) {
            std::this_thread::yield();
        }
        cancelStarted = true;
        positioning.cancel();
        callbackRunningWhenCancelReturned = inCallback.load();
    });
    ASSERT_TRUE(observer.waitFor(1));
    canceller.join();
    EXPECT_FALSE(callbackRunningWhenCancelReturned);
    EXPECT_EQ(observer.count(), 1u);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}
