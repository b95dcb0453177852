// kopa::Client with no bus behind the address, then a bus without the service; and the names
// of the result codes.
#include <KopaClient.h>
#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>
#include <thread>

#include "BusControl.h"
#include "ClientHarness.h"

namespace {

void expectCause(const kopa::Result<KopaPosition>& result, KopaFailureKind kind) {
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().code(), KOPA_ERROR_GENERAL);
    EXPECT_EQ(result.error().cause().kind, kind) << result.error().describe();
}

TEST(ClientWithoutService, NamesTheMissingBusThenTheMissingService) {
    ASSERT_FALSE(bus_control::busIsUp());
    kopa::MainLoopThread loop;
    kopa::Client client;
    Outcomes<KopaPosition> positions;
    // Refused by the library at once, yet reported from the loop like any other answer.
    std::thread::id deliveredOn;
    kopa::Request refused = client.currentPositionAsync({}, [&](const auto& result) {
        deliveredOn = std::this_thread::get_id();
        positions.add(result);
    });
    ASSERT_TRUE(positions.waitFor(1));
    EXPECT_NE(deliveredOn, std::this_thread::get_id());
    expectCause(positions.all()[0], KOPA_FAILURE_NO_BUS);
    expectCause(client.currentPosition(), KOPA_FAILURE_NO_BUS);

    ASSERT_TRUE(bus_control::startBus());
    kopa::Request unanswered = client.lastKnownPositionAsync({}, positions.callback());
    ASSERT_TRUE(positions.waitFor(2));
    expectCause(positions.all()[1], KOPA_FAILURE_NO_SERVICE);
    expectCause(client.currentPosition(), KOPA_FAILURE_NO_SERVICE);
}

TEST(ClientCodes, EveryResultCodeHasANameAndAMessage) {
    const int codes[] = {KOPA_OK,
                         KOPA_ERROR_GENERAL,
                         KOPA_ERROR_SEND,
                         KOPA_ERROR_NOT_SUPPORTED,
                         KOPA_ERROR_METHOD_NOT_SUPPORTED,
                         KOPA_ERROR_NO_OBSERVER,
                         KOPA_ERROR_REQUEST_PENDING,
                         KOPA_ERROR_NOT_AUTHORIZED,
                         KOPA_ERROR_NO_REPLY,
                         KOPA_ERROR_INFORMATION_SHORTAGE,
                         KOPA_ERROR_NETWORK,
                         KOPA_ERROR_SERVER,
                         KOPA_ERROR_NOT_POSITIONED};
    std::set<std::string> names;
    for (int code : codes) {
        names.insert(kopa::codeName(code));
        EXPECT_STRNE(kopa::codeMessage(code), "unknown result code") << code;
    }
    EXPECT_EQ(names.size(), std::size(codes));
    EXPECT_EQ(names.count("KOPA_UNKNOWN_RESULT"), 0u);
    EXPECT_STREQ(kopa::codeName(KOPA_ERROR_NOT_POSITIONED), "KOPA_ERROR_NOT_POSITIONED");
    EXPECT_STREQ(kopa::codeName(KOPA_TEXT_BAD_NUMBER), "KOPA_TEXT_BAD_NUMBER");
    EXPECT_STREQ(kopa::codeName(-7), "KOPA_UNKNOWN_RESULT");
    EXPECT_STREQ(kopa::codeMessage(-7), "unknown result code");
    EXPECT_EQ(kopa::Error(KOPA_ERROR_NO_REPLY, {}).describe(),
              "KOPA_ERROR_NO_REPLY (-2100): no answer within the time-out");
}

}  // namespace
