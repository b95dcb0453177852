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

TEST_F(ClientThreads, CallbacksGoToTheContextTheClientWasGiven) {
    kopa::MainLoopThread loop;
    GMainContext* context = g_main_context_new();
    {
        kopa::Client client(context);
        std::optional<std::thread::id> ranOn;
        kopa::Request request = client.currentPositionAsync(
            {}, [&](const auto&) { ranOn = std::this_thread::get_id(); });
        while (!ranOn)
            g_main_context_iteration(context, TRUE);
        EXPECT_EQ(*ranOn, std::this_thread::get_id());
    }
    g_main_context_unref(context);
}

TEST_F(ClientThreads, WithoutALoopBlockingRequestsStillKeepTheirTimeOut) {
    kopa::Client client;  // nobody runs the default main context
    EXPECT_TRUE(client.currentPosition().ok());
    // One thread runs the context for its last known position and stops when it has it; a
    // request that went the asynchronous way meanwhile still gets its answer.
    script("lastKnownPosition", {"delay 300 reply"});
    script("currentPosition", {"delay 1000 reply"});
    std::thread iterating([&] { EXPECT_TRUE(client.lastKnownPosition().ok()); });
    ASSERT_TRUE(sim.waitForRequests(2));
    EXPECT_TRUE(client.currentPosition().ok());
    iterating.join();
    sim.reset();

    script("lastKnownPosition", {"noreply"});
    kopa::RequestOptions options;
    options.timeout = 300ms;
    const auto result = client.lastKnownPosition(options);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code(), KOPA_ERROR_NO_REPLY);
    EXPECT_TRUE(sim.waitForCancels(1));
}

}  // namespace
