// Opening the process's one connection to the (private) system bus.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "TraceCapture.h"
#include "fwclient/KopaFwClient.h"

using ::testing::ElementsAre;

TEST(ServiceConnection, AccessorAlwaysReturnsTheSameClient) {
    KopaFwClient* first = kopaFwClientP();
    ASSERT_NE(first, nullptr);
    std::vector<KopaFwClient*> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen) {
        threads.emplace_back([&slot] { slot = kopaFwClientP(); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (KopaFwClient* client : seen) {
        EXPECT_EQ(client, first);
    }
}

TEST(ServiceConnection, ConnectsToThePrivateSystemBus) {
    TraceCapture trace;
    KopaFwClient* client = kopaFwClientP();
    trace.take();
    EXPECT_EQ(client->initKopaFwClient(), KOPA_OK);
    EXPECT_THAT(trace.take(), ElementsAre("KopaFwClient::initKopaFwClient() <-",
                                          "KopaFwClient::initKopaFwClient() ->"));
}

TEST(ServiceConnection, ASecondInitWritesOnlyItsTwoLines) {
    TraceCapture trace;
    ASSERT_EQ(kopaFwClientP()->initKopaFwClient(), KOPA_OK);
    trace.take();
    EXPECT_EQ(kopaFwClientP()->initKopaFwClient(), KOPA_OK);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaFwClient::initKopaFwClient() <-",
                            "KopaFwClient::initKopaFwClient() -> (we have a dbus_connection "
                            "handle already)"));
}

TEST(ServiceConnection, ThreadsConnectingAtOnceOpenTheConnectionOnce) {
    TraceCapture trace;
    kopaFwClientP();
    trace.take();
    std::vector<std::thread> threads;
    std::vector<int> results(6, -1);
    for (int& result : results) {
        threads.emplace_back([&result] { result = kopaFwClientP()->initKopaFwClient(); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (int result : results) {
        EXPECT_EQ(result, KOPA_OK);
    }
    int opened = 0;
    for (const std::string& line : trace.take()) {
        opened += line == "KopaFwClient::initKopaFwClient() ->";
    }
    EXPECT_EQ(opened, 1);
}

TEST(ServiceConnection, AClientThatNeverConnectedOnlyTracesItsLife) {
    TraceCapture trace;
    { KopaFwClient client; }
    EXPECT_THAT(trace.lines(),
                ElementsAre("KopaFwClient::KopaFwClient()", "KopaFwClient::~KopaFwClient()"));
}
