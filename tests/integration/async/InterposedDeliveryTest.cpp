// What only an unlucky schedule reaches, made certain by holding one libdbus call back: a
// reply that completes before its completion function is attached, and a cancel that lands
// while the main-loop thread reads the reply. Also the time-out that last-known-position
// requests hand to D-Bus, read where it is handed over.
#include <KopaPositioning.h>
#include <dbus/dbus.h>
#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "MainLoop.h"
#include "SimFixture.h"
#include "pending/PendingStates.h"

namespace {

std::atomic<int> lastTimeoutMs{0};
std::atomic<bool> holdNotifyUntilCompleted{false};
std::atomic<bool> holdReplyUntilCancelled{false};
std::atomic<bool> readingReply{false};

// Spins until `done` holds or five seconds pass.
template <typename Condition>
bool waitUntil(Condition done) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done() && std::chrono::steady_clock::now() < giveUp) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return done();
}

}  // namespace

extern "C" {
DBusMessage* __real_dbus_connection_send_with_reply_and_block(DBusConnection*, DBusMessage*, int,
                                                              DBusError*);
dbus_bool_t __real_dbus_connection_send_with_reply(DBusConnection*, DBusMessage*, DBusPendingCall**,
                                                   int);
dbus_bool_t __real_dbus_pending_call_set_notify(DBusPendingCall*, DBusPendingCallNotifyFunction,
                                                void*, DBusFreeFunction);
DBusMessage* __real_dbus_pending_call_steal_reply(DBusPendingCall*);

DBusMessage* __wrap_dbus_connection_send_with_reply_and_block(DBusConnection* connection,
                                                              DBusMessage* message, int timeoutMs,
                                                              DBusError* error) {
    lastTimeoutMs = timeoutMs;
    return __real_dbus_connection_send_with_reply_and_block(connection, message, timeoutMs, error);
}

dbus_bool_t __wrap_dbus_connection_send_with_reply(DBusConnection* connection, DBusMessage* message,
                                                   DBusPendingCall** pending, int timeoutMs) {
    lastTimeoutMs = timeoutMs;
    return __real_dbus_connection_send_with_reply(connection, message, pending, timeoutMs);
}

// Lets the main-loop thread receive the reply before the completion function is attached.
dbus_bool_t __wrap_dbus_pending_call_set_notify(DBusPendingCall* pending,
                                                DBusPendingCallNotifyFunction function, void* data,
                                                DBusFreeFunction freeData) {
    if (function != nullptr && holdNotifyUntilCompleted.exchange(false)) {
        EXPECT_TRUE(waitUntil([pending] { return dbus_pending_call_get_completed(pending); }));
    }
    return __real_dbus_pending_call_set_notify(pending, function, data, freeData);
}

// Keeps the main-loop thread between taking up a reply and reading it until a cancel has
// taken the request out of the registry.
DBusMessage* __wrap_dbus_pending_call_steal_reply(DBusPendingCall* pending) {
    if (holdReplyUntilCancelled.exchange(false)) {
        readingReply = true;
        EXPECT_TRUE(waitUntil([pending] { return pendingStatesP()->isPendingRemoved(pending); }));
    }
    return __real_dbus_pending_call_steal_reply(pending);
}
}

namespace {

class InterposedDelivery : public SimTest {
  protected:
    void TearDown() override {
        if (loopThread_.joinable()) {
            g_main_loop_quit(loop_);
            loopThread_.join();
        }
        g_main_loop_unref(loop_);
    }

    // The default main context runs on a thread of its own, as in a threaded application.
    void runMainLoop() {
        loopThread_ = std::thread([this] { g_main_loop_run(loop_); });
        ASSERT_TRUE(waitUntil([this] { return g_main_loop_is_running(loop_) != FALSE; }));
    }

    RecordingObserver observer;
    KopaPositioning positioning{&observer};
    KopaPosition position;
    GMainLoop* loop_ = g_main_loop_new(nullptr, FALSE);
    std::thread loopThread_;
};

TEST_F(InterposedDelivery, LastKnownPositionWaitsTwentyFourHoursInBothForms) {
    ASSERT_EQ(positioning.lastKnownPosition(position, 7), KOPA_OK);
    EXPECT_EQ(lastTimeoutMs.exchange(0), 86400000);
    ASSERT_EQ(positioning.lastKnownPositionAsync(position, 7), KOPA_OK);
    EXPECT_EQ(lastTimeoutMs.exchange(0), 86400000);
    positioning.cancel();
}

TEST_F(InterposedDelivery, AReplyThatCompletesBeforeItsCompletionIsAttachedIsStillDelivered) {
    runMainLoop();
    holdNotifyUntilCompleted = true;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(waitUntil([this] { return observer.count() == 1; }));
    EXPECT_EQ(observer.completions()[0].result, KOPA_OK);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}

TEST_F(InterposedDelivery, ACancelWhileTheReplyIsReadWinsAndNoObserverIsCalled) {
    runMainLoop();
    holdReplyUntilCancelled = true;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(waitUntil([] { return readingReply.load(); }));
    positioning.cancel(KOPA_REQUEST_CURRENT_POSITION);  // returns once that delivery has ended
    EXPECT_EQ(observer.count(), 0u);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(observer.count(), 0u);
}

}  // namespace
