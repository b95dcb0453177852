// Where kopa::Client's callbacks run, what a cancel waits for, and blocking requests from
// several threads.
#include <KopaClient.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

#include "ClientHarness.h"
#include "SimFixture.h"

namespace {

using ClientThreads = SimTest;

TEST_F(ClientThreads, ACancelFromAnotherThreadWaitsForTheRunningCallback) {
    kopa::MainLoopThread loop;
    kopa::Client client;
    std::atomic<bool> stored{false}, entered{false}, returned{false};
    kopa::Request request;
    request = client.currentPositionAsync({}, [&](const auto&) {
        while (!stored)
            std::this_thread::yield();
        request
            .cancel();  // the callback's own cancel returns at once, and makes no other wait less
        entered = true;
        std::this_thread::sleep_for(200ms);  // long enough for the cancel below to arrive
        returned = true;
    });
    stored = true;
    std::thread canceller([&] {
        while (!entered)
            std::this_thread::yield();
        request.cancel();
        EXPECT_TRUE(returned);
    });
    canceller.join();
}

TEST_F(ClientThreads, ACallbackMayCancelItselfAndDestroyItsClient) {
    kopa::MainLoopThread loop;
    auto client = std::make_unique<kopa::Client>();
    script("currentMeasurements", {"delay 2000 reply"});
    Outcomes<KopaMeasurements> never;
    kopa::Request other = client->currentMeasurementsAsync({}, never.callback());
    std::optional<kopa::Request> self;
    std::atomic<bool> stored{false}, done{false};
    self = client->currentPositionAsync({}, [&](const kopa::Result<KopaPosition>& result) {
        while (!stored)
            std::this_thread::yield();
        EXPECT_TRUE(result.ok());
        // Its answer would have to come through this very dispatch: refused, not hung.
        EXPECT_EQ(client->lastKnownPosition().error().code(), KOPA_ERROR_NOT_SUPPORTED);
        self->cancel();  // returns at once: it is this very callback
        client.reset();  // cancels the other request, from the loop thread
        done = true;
    });
    stored = true;
    while (!done)
        std::this_thread::yield();
    ASSERT_TRUE(sim.waitForCancels(1));
    EXPECT_FALSE(other.pending());
}

TEST_F(ClientThreads, BlockingRequestsOfTwoThreadsDoNotWaitForEachOther) {
    kopa::MainLoopThread loop;
    kopa::Client client;
    script("currentPosition", {"delay 3000 reply"});
    std::atomic<bool> slowReturned{false};
    std::thread slow([&] {
        EXPECT_TRUE(client.currentPosition().ok());
        slowReturned = true;
    });
    ASSERT_TRUE(sim.waitForRequests(1));
    std::thread fast([&] {
        EXPECT_TRUE(client.currentMeasurements().ok());
        EXPECT_FALSE(slowReturned);
    });
    fast.join();
    slow.join();
}

}  // namespace
