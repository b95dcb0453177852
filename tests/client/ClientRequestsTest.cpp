// kopa::Client's asynchronous requests against kopad-sim, with a loop thread delivering.
#include <KopaClient.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "ClientHarness.h"
#include "SimFixture.h"

namespace {

class ClientRequests : public SimTest {
  protected:
    kopa::MainLoopThread loop;
    kopa::Client client;
};

TEST_F(ClientRequests, AnswerEachKindWithItsRecord) {
    Outcomes<KopaPosition> positions;
    Outcomes<KopaMeasurements> measurements;
    kopa::Request current = client.currentPositionAsync({}, positions.callback());
    kopa::Request last = client.lastKnownPositionAsync({}, positions.callback());
    kopa::Request radio = client.currentMeasurementsAsync({}, measurements.callback());
    ASSERT_TRUE(positions.waitFor(2));
    ASSERT_TRUE(measurements.waitFor(1));
    for (const auto& result : positions.all()) {
        ASSERT_TRUE(result.ok()) << result.error().describe();
        EXPECT_NEAR(result.value().latitude(), 60.1699, 1e-6);
        EXPECT_NEAR(result.value().longitude(), 24.9384, 1e-6);
    }
    ASSERT_TRUE(measurements.all()[0].ok());
    EXPECT_FALSE(current.pending());

    kopa::Request converted =
        client.convertToPositionAsync(measurements.all()[0].value(), {}, positions.callback());
    ASSERT_TRUE(positions.waitFor(3));
    EXPECT_TRUE(positions.all()[2].ok());
}

TEST_F(ClientRequests, KeepSeveralRequestsOfOneKindOutstanding) {
    script("currentPosition", {"delay 300 reply"});
    Outcomes<KopaPosition> positions;
    std::vector<kopa::Request> requests;
    for (int i = 0; i < 3; ++i) {
        requests.push_back(client.currentPositionAsync({}, positions.callback()));
    }
    ASSERT_TRUE(positions.waitFor(3));
    for (const auto& result : positions.all()) {
        EXPECT_TRUE(result.ok()) << result.error().describe();
    }
    EXPECT_EQ(sim.requests().size(), 3u);
}

struct FailureCase {
    const char* outcome;
    int code;
    KopaFailureKind kind;
    const char* errorName;
};

TEST_F(ClientRequests, ReportEachFailureWithItsCodeNameAndCause) {
    const FailureCase cases[] = {
        {"error 54", KOPA_ERROR_NOT_POSITIONED, KOPA_FAILURE_SERVICE_ERROR,
         "com.ruvex.location.kopad.Error"},
        // A service code the library folds into the generic code keeps what the service said.
        {"error 41 (41) bad request", KOPA_ERROR_GENERAL, KOPA_FAILURE_SERVICE_ERROR,
         "com.ruvex.location.kopad.Error"},
        {"reply garbage", KOPA_ERROR_GENERAL, KOPA_FAILURE_UNREADABLE_REPLY, ""},
        {"dbus-error org.freedesktop.DBus.Error.AccessDenied refused by policy", KOPA_ERROR_GENERAL,
         KOPA_FAILURE_POLICY, "org.freedesktop.DBus.Error.AccessDenied"},
    };
    for (const FailureCase& failure : cases) {
        SCOPED_TRACE(failure.outcome);
        sim.reset();
        script("currentPosition", {failure.outcome});
        Outcomes<KopaPosition> asynchronous;
        kopa::Request request = client.currentPositionAsync({}, asynchronous.callback());
        ASSERT_TRUE(asynchronous.waitFor(1));
        // The blocking form, with a loop thread running, reports the same.
        for (const auto& result : {asynchronous.all()[0], client.currentPosition()}) {
            ASSERT_FALSE(result.ok());
            const kopa::Error& error = result.error();
            EXPECT_EQ(error.code(), failure.code);
            EXPECT_STREQ(error.name(), kopa::codeName(failure.code));
            EXPECT_EQ(error.cause().kind, failure.kind) << error.describe();
            EXPECT_EQ(error.cause().errorName, failure.errorName);
            EXPECT_NE(error.describe().find(error.name()), std::string::npos);
        }
    }
}

TEST_F(ClientRequests, EndARequestAtTheirOwnDeadlineAndCancelIt) {
    script("currentPosition", {"delay 5000 reply"});
    script("lastKnownPosition", {"noreply"});
    kopa::RequestOptions options;
    options.timeout = 300ms;
    Outcomes<KopaPosition> positions;
    kopa::Request current = client.currentPositionAsync(options, positions.callback());
    kopa::Request last = client.lastKnownPositionAsync(options, positions.callback());
    ASSERT_TRUE(positions.waitFor(2, 4s));  // well before the library's whole second and more
    for (const auto& result : positions.all()) {
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().code(), KOPA_ERROR_NO_REPLY);
        EXPECT_EQ(result.error().cause().kind, KOPA_FAILURE_NO_REPLY);
    }
    ASSERT_TRUE(sim.waitForCancels(2));
    std::vector<uint32_t> requested, cancelled;
    for (const auto& request : sim.requests())
        requested.push_back(request.serial);
    for (const auto& cancel : sim.cancels()) {
        cancelled.insert(cancelled.end(), cancel.serials.begin(), cancel.serials.end());
    }
    std::sort(requested.begin(), requested.end());
    std::sort(cancelled.begin(), cancelled.end());
    EXPECT_EQ(requested, cancelled);
}

TEST_F(ClientRequests, DestroyingTheClientCancelsWhatItStillHas) {
    script("currentPosition", {"delay 1500 reply"});
    script("currentMeasurements", {"delay 1500 reply"});
    auto doomed = std::make_unique<kopa::Client>();
    Outcomes<KopaPosition> positions;
    Outcomes<KopaMeasurements> measurements;
    kopa::Request a = doomed->currentPositionAsync({}, positions.callback());
    kopa::Request b = doomed->currentPositionAsync({}, positions.callback());
    kopa::Request c = doomed->currentMeasurementsAsync({}, measurements.callback());
    ASSERT_TRUE(sim.waitForRequests(3));
    doomed.reset();
    EXPECT_FALSE(a.pending() || b.pending() || c.pending());
    ASSERT_TRUE(sim.waitForCancels(3));

    // A request sent now is answered after the cancelled ones would have been.
    sim.reset();
    script("currentPosition", {"delay 1600 reply"});
    Outcomes<KopaPosition> later;
    kopa::Request probe = client.currentPositionAsync({}, later.callback());
    ASSERT_TRUE(later.waitFor(1));
    EXPECT_EQ(positions.size(), 0u);
    EXPECT_EQ(measurements.size(), 0u);
}

}  // namespace
