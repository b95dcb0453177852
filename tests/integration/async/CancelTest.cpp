// Cancelling outstanding requests: the registry forgets them, the service hears their serials.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "MainLoop.h"
#include "SimFixture.h"
#include "fwclient/KopaFwClient.h"
#include "pending/PendingStates.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class Cancel : public SimTest {
  protected:
    void SetUp() override {
        SimTest::SetUp();
        script("currentPosition", {"delay 300 reply"});
        script("currentMeasurements", {"delay 300 reply"});
    }
    uint32_t serialOf(const std::string& member) {
        for (const LoggedRequest& request : sim.requests()) {
            if (request.member == member) {
                return request.serial;
            }
        }
        ADD_FAILURE() << "no " << member << " reached the service";
        return 0;
    }
    RecordingObserver observer;
    KopaPositioning positioning{&observer};
    KopaPosition position;
    KopaMeasurements measurements;
};

}  // namespace

TEST_F(Cancel, OneSignalCarriesTheSerialsOfTheCancelledRequestsOnly) {
    RecordingObserver otherObserver;
    KopaPositioning other(&otherObserver);
    KopaPosition otherPosition;
    ASSERT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_OK);
    ASSERT_EQ(other.currentPositionAsync(otherPosition, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(sim.waitForRequests(3));
    positioning.cancel(KOPA_REQUEST_CURRENT_MEASUREMENTS);
    ASSERT_TRUE(sim.waitForCancels(1));
    const uint32_t serial = serialOf("currentMeasurements");
    EXPECT_THAT(sim.cancels()[0].serials, ElementsAre(serial));
    auto lines = trace.lines();
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "KopaFwClient::sendCancel() cancel serial: " + std::to_string(serial)),
              lines.end());

    ASSERT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_OK);
    ASSERT_TRUE(sim.waitForRequests(4));
    positioning.cancel();
    ASSERT_TRUE(sim.waitForCancels(2));
    EXPECT_THAT(sim.cancels()[1].serials,
                ElementsAre(sim.requests()[0].serial, sim.requests()[3].serial));
    EXPECT_EQ(pendingStatesP()->entryCount(), 1u);
    // Another object's request is untouched; no callback for a cancelled request, even when
    // the service answers it.
    ASSERT_TRUE(otherObserver.waitFor(1));
    EXPECT_EQ(otherObserver.completions()[0].result, KOPA_OK);
    script("currentPosition", {"delay 400 reply"});
    ASSERT_EQ(other.currentPositionAsync(otherPosition, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    ASSERT_TRUE(otherObserver.waitFor(2));
    EXPECT_EQ(observer.count(), 0u);
    EXPECT_EQ(position, KopaPosition()) << "a cancelled request's record is not written";
}

TEST_F(Cancel, NothingToCancelNeitherConnectsNorSends) {
    trace.take();
    positioning.cancel();
    positioning.cancel(KOPA_REQUEST_LAST_KNOWN_POSITION);
    EXPECT_THAT(trace.take(),
                ElementsAre("KopaFwClient::KopaFwClient()", "KopaFwClient::cancel() <-",
                            "PendingStates::PendingStates()", "KopaFwClient::cancel() ->",
                            "KopaFwClient::cancel() <-", "KopaFwClient::cancel() ->"));
    ASSERT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_OK);
    trace.take();
    positioning.cancel(KOPA_REQUEST_CURRENT_POSITION);
    EXPECT_THAT(trace.take(), Not(Contains(HasSubstr("sendCancel"))));
    ASSERT_TRUE(observer.waitFor(1));
    EXPECT_EQ(observer.completions()[0].result, KOPA_OK);
    kopaFwClientP()->sendCancel({});  // an empty list still travels, as an empty array
    ASSERT_TRUE(sim.waitForCancels(1));
    EXPECT_EQ(sim.cancels().size(), 1u);
    EXPECT_TRUE(sim.cancels()[0].serials.empty());
}
