// kopa::Client's subscriptions, following a journey that kopad-sim replays.
#include <KopaClient.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

#include "ClientHarness.h"
#include "SimFixture.h"

namespace {

using ClientSubscription = SimTest;

// Metres between two positions, on a sphere.
double metresBetween(const KopaPosition& a, const KopaPosition& b) {
    const double rad = M_PI / 180.0, r = 6371008.8;
    const double dLat = (b.latitude() - a.latitude()) * rad;
    const double dLon = (b.longitude() - a.longitude()) * rad * std::cos(a.latitude() * rad);
    return r * std::hypot(dLat, dLon);
}

// Due east along a parallel at 100 m/s for 20 s, starting now.
std::string fastTrack() {
    GDateTime* now = g_date_time_new_now_utc();
    GDateTime* end = g_date_time_add_seconds(now, 20);
    gchar* from = g_date_time_format_iso8601(now);
    gchar* to = g_date_time_format_iso8601(end);
    std::string gpx = std::string(
                          "<gpx version=\"1.1\" xmlns=\"http://www.topografix.com/GPX/1/1\">"
                          "<trk><trkseg><trkpt lat=\"60.0\" lon=\"25.0\"><time>") +
                      from + "</time></trkpt><trkpt lat=\"60.0\" lon=\"25.03589\"><time>" + to +
                      "</time></trkpt></trkseg></trk></gpx>";
    g_free(from);
    g_free(to);
    g_date_time_unref(end);
    g_date_time_unref(now);
    return gpx;
}

TEST_F(ClientSubscription, ASubscriptionFollowsAJourneyAndSkipsPositionsCloserThanItsDistance) {
    sim.loadTrack(fastTrack());
    kopa::MainLoopThread loop;
    kopa::Client client;
    kopa::SubscriptionOptions options;
    options.interval = 50ms;
    options.minimumDistance = 20.0;
    Outcomes<KopaPosition> positions;
    kopa::Subscription subscription = client.subscribe(options, positions.callback());
    ASSERT_TRUE(positions.waitFor(5));
    subscription.cancel();
    EXPECT_FALSE(subscription.active());

    const auto reported = positions.all();
    for (std::size_t i = 1; i < reported.size(); ++i) {
        ASSERT_TRUE(reported[i].ok()) << reported[i].error().describe();
        EXPECT_GE(metresBetween(reported[i - 1].value(), reported[i].value()), 20.0);
        EXPECT_GT(reported[i].value().longitude(), reported[i - 1].value().longitude());
        EXPECT_NEAR(reported[i].value().speed(), 100.0, 5.0);
    }
    // At 50 ms and 100 m/s the service was asked about four times for each position reported.
    EXPECT_GT(sim.requests().size(), reported.size() + 5);
}

TEST_F(ClientSubscription, EndingASubscriptionCancelsItsOutstandingRequest) {
    script("currentPosition", {"reply", "delay 5000 reply"});
    kopa::MainLoopThread loop;
    kopa::Client client;
    kopa::SubscriptionOptions options;
    options.interval = 10ms;
    Outcomes<KopaPosition> positions;
    auto subscription = std::make_optional(client.subscribe(options, positions.callback()));
    ASSERT_TRUE(positions.waitFor(1));
    ASSERT_TRUE(sim.waitForRequests(2));
    subscription.reset();
    ASSERT_TRUE(sim.waitForCancels(1));
    EXPECT_EQ(sim.cancels()[0].serials, std::vector<uint32_t>{sim.requests()[1].serial});
    EXPECT_EQ(positions.size(), 1u);
}

}  // namespace
