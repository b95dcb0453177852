// Who runs GLib's default main context, as programs really arrange it: a loop that iterates
// the context itself, a loop thread busy in a callback, a forwarded context and no default
// loop at all, a loop thread ended from its own callback; and time-outs and intervals kept
// however that question is answered.
#include <KopaClient.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <future>
#include <string>
#include <thread>

#include "ClientHarness.h"
#include "SimFixture.h"

namespace {

using ClientLoopOwner = SimTest;

kopa::RequestOptions within(std::chrono::milliseconds timeout) {
    kopa::RequestOptions options;
    options.timeout = timeout;
    return options;
}

TEST_F(ClientLoopOwner, AProgramThatIteratesTheContextItselfKeepsItsSourcesOnItsThread) {
    // The program's own loop: g_main_context_iteration with a 1 ms timer of its own, letting
    // go of the context between iterations.
    static const std::thread::id self = std::this_thread::get_id();
    static std::atomic<int> ticks{0}, elsewhere{0};
    const guint timer = g_timeout_add(
        1,
        [](gpointer) -> gboolean {
            ++ticks;
            elsewhere += std::this_thread::get_id() != self;
            return G_SOURCE_CONTINUE;
        },
        nullptr);
    kopa::Client client;
    script("lastKnownPosition", {"delay 300 reply"});
    std::atomic<bool> done{false};
    std::thread worker([&] {
        EXPECT_TRUE(client.lastKnownPosition().ok());
        EXPECT_THROW(kopa::MainLoopThread late, std::runtime_error);  // the program runs it
        done = true;
    });
    while (!done) {
        g_main_context_iteration(nullptr, TRUE);
    }
    worker.join();
    g_source_remove(timer);
    EXPECT_GT(ticks.load(), 0);
    EXPECT_EQ(elsewhere.load(), 0);
}

TEST_F(ClientLoopOwner, ABlockingTimeOutPassesWhileTheLoopIsBusyInACallback) {
    struct Busy {
        std::atomic<bool> started{false}, done{false};
    } busy;  // outlives the loop thread, which finishes the callback before it ends
    kopa::MainLoopThread loop;
    kopa::Client client;
    g_idle_add(
        [](gpointer data) -> gboolean {
            auto* busy = static_cast<Busy*>(data);
            busy->started = true;
            std::this_thread::sleep_for(2s);
            busy->done = true;
            return G_SOURCE_REMOVE;
        },
        &busy);
    while (!busy.started)
        std::this_thread::yield();
    script("currentPosition", {"noreply"});
    const auto result = client.currentPosition(within(300ms));
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code(), KOPA_ERROR_NO_REPLY);
    EXPECT_FALSE(busy.done) << "the time-out waited for the busy callback";
    EXPECT_TRUE(sim.waitForCancels(1));
}

TEST_F(ClientLoopOwner, AForwardingClientWorksWithNobodyRunningTheDefaultContext) {
    GMainContext* context = g_main_context_new();
    {
        kopa::Client client(context);
        Outcomes<KopaPosition> outcomes;
        script("currentPosition", {"reply", "noreply", "reply"});
        std::thread::id ranOn;
        kopa::Request answered = client.currentPositionAsync({}, [&](const auto& result) {
            ranOn = std::this_thread::get_id();
            outcomes.add(result);
        });
        kopa::Request unanswered = client.currentPositionAsync(within(200ms), outcomes.callback());
        while (outcomes.size() < 2)
            g_main_context_iteration(context, TRUE);
        EXPECT_EQ(ranOn, std::this_thread::get_id());  // the thread that runs the context
        EXPECT_TRUE(outcomes.all()[0].ok());
        EXPECT_EQ(outcomes.all()[1].error().code(), KOPA_ERROR_NO_REPLY);
        EXPECT_TRUE(sim.waitForCancels(1));

        // An answer already forwarded, not yet run, when the cancel comes: it never runs.
        bool ran = false;
        kopa::Request late = client.currentPositionAsync({}, [&](const auto&) { ran = true; });
        while (!g_main_context_pending(context))
            std::this_thread::yield();
        late.cancel();
        while (g_main_context_iteration(context, FALSE)) {
        }
        EXPECT_FALSE(ran);
    }
    g_main_context_unref(context);
}

TEST_F(ClientLoopOwner, ALoopThreadMayBeEndedFromItsOwnCallbackAndStartedAgain) {
    auto loop = std::make_unique<kopa::MainLoopThread>();
    kopa::Client client;
    std::atomic<bool> ended{false};
    kopa::Request request = client.currentPositionAsync({}, [&](const auto&) {
        loop.reset();
        ended = true;
    });
    while (!ended)
        std::this_thread::yield();
    kopa::MainLoopThread again;
    Outcomes<KopaPosition> outcomes;
    kopa::Request next = client.currentPositionAsync({}, outcomes.callback());
    EXPECT_TRUE(outcomes.waitFor(1));
}

TEST_F(ClientLoopOwner, TheApplicationsDeclarationKeepsTheLayerOffTheContext) {
    kopa::ApplicationLoop declared;
    EXPECT_THROW(kopa::MainLoopThread refused, std::runtime_error);
}

TEST_F(ClientLoopOwner, DurationsTooLongForTheClockMeanNever) {
    kopa::MainLoopThread loop;
    kopa::Client client;
    kopa::RequestOptions forever;
    forever.timeout = std::chrono::milliseconds::max();
    Outcomes<KopaPosition> positions;
    kopa::Request request = client.currentPositionAsync(forever, positions.callback());
    kopa::SubscriptionOptions rarely;
    rarely.interval = std::chrono::milliseconds::max();
    kopa::Subscription subscription = client.subscribe(rarely, positions.callback());
    ASSERT_TRUE(positions.waitFor(2));
    EXPECT_FALSE(sim.waitForRequests(3, 300)) << "the interval came around again";
}

TEST_F(ClientLoopOwner, AnUnreadableAnswerIsTheSameFailureOnEveryPath) {
    script("currentPosition", {"reply garbage", "reply garbage", "int32 5"});
    kopa::Client client;
    // Nobody runs the context: the calling thread does, for its own request.
    const auto alone = client.currentPosition();
    kopa::MainLoopThread loop;
    // Inside a callback, where the library's own blocking call serves.
    std::promise<kopa::Result<KopaPosition>> answered;
    kopa::Request request = client.lastKnownPositionAsync(
        {}, [&](const auto&) { answered.set_value(client.currentPosition()); });
    const auto inside = answered.get_future().get();
    const auto other = client.currentPosition();
    for (const kopa::Result<KopaPosition>* result : {&alone, &inside, &other}) {
        ASSERT_FALSE(result->ok());
        EXPECT_EQ(result->error().code(), KOPA_ERROR_GENERAL);
        EXPECT_EQ(result->error().cause().kind, KOPA_FAILURE_UNREADABLE_REPLY);
        const std::string line = result->error().describe();
        EXPECT_EQ(line.find('\n'), std::string::npos) << line;
    }
}

}  // namespace
