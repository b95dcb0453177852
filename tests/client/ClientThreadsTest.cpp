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
    std::atomic<bool> entered{false}, returned{false};
    kopa::Request request = client.currentPositionAsync({}, [&](const auto&) {
        entered = true;
        std::this_thread::sleep_for(200ms);  // long enough for the cancel below to arrive
        returned = true;
    });
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
    script("lastKnownPosition", {"noreply"});
    kopa::RequestOptions options;
    options.timeout = 300ms;
    const auto result = client.lastKnownPosition(options);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code(), KOPA_ERROR_NO_REPLY);
    EXPECT_TRUE(sim.waitForCancels(1));
}

TEST_F(ClientThreads, OnlyOneLoopThreadCanRunTheDefaultContext) {
    kopa::MainLoopThread loop;
    kopa::Client client;
    EXPECT_TRUE(client.currentPosition().ok());  // the loop runs: wait for it to own the context
    EXPECT_THROW(kopa::MainLoopThread second, std::runtime_error);
}

}  // namespace
