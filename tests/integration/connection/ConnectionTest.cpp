// Opening the process's one connection to the (private) system bus.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "TraceCapture.h"
#include "fwclient/KopaFwClient.h"

using ::testing::ElementsAre;

TEST(ServiceConnection, OpensOnceAndSaysSoOnEveryLaterInit) {
    TraceCapture trace;
    { KopaFwClient client; }
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaFwClient::KopaFwClient()", "KopaFwClient::~KopaFwClient()"));
    kopaFwClientP();
    trace.take();
    EXPECT_EQ(kopaFwClientP()->initKopaFwClient(), KOPA_OK);
    EXPECT_EQ(kopaFwClientP()->initKopaFwClient(), KOPA_OK);
    EXPECT_THAT(
        trace.take(),
        ElementsAre("KopaFwClient::initKopaFwClient() <-", "KopaFwClient::initKopaFwClient() ->",
                    "KopaFwClient::initKopaFwClient() <-",
                    "KopaFwClient::initKopaFwClient() -> (we have a dbus_connection "
                    "handle already)"));
}

TEST(ServiceConnection, ThreadsConnectingAtOnceShareOneClientAndOpenItOnce) {
    TraceCapture trace;
    KopaFwClient* first = kopaFwClientP();
    trace.take();
    std::vector<std::thread> threads;
    std::vector<int> results(6, -1);
    std::vector<KopaFwClient*> clients(6);
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&, i] {
            clients[i] = kopaFwClientP();
            results[i] = clients[i]->initKopaFwClient();
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(results[i], KOPA_OK);
        EXPECT_EQ(clients[i], first);
    }
    int opened = 0;
    for (const std::string& line : trace.take()) {
        opened += line == "KopaFwClient::initKopaFwClient() ->";
    }
    EXPECT_EQ(opened, 1);
}
