// The library meets a system bus that is not there yet, then comes up at the same address.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include "BusControl.h"
#include "TraceCapture.h"
#include "fwclient/KopaFwClient.h"

TEST(ServiceConnection, ReportsAMissingBusAndConnectsOnceItIsUp) {
    ASSERT_FALSE(bus_control::busIsUp());
    TraceCapture trace;
    KopaFwClient* client = kopaFwClientP();
    trace.take();

    EXPECT_EQ(client->initKopaFwClient(), KOPA_ERROR_GENERAL);
    std::vector<std::string> lines = trace.take();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "KopaFwClient::initKopaFwClient() <-");
    EXPECT_EQ(lines[1].rfind("error: dbus_bus_get error ( Name: org.freedesktop.DBus.Error.", 0),
              0u)
        << lines[1];
    EXPECT_NE(lines[1].find(" Message: "), std::string::npos);
    EXPECT_EQ(lines[1].back(), ')');

    EXPECT_EQ(client->initKopaFwClient(), KOPA_ERROR_GENERAL) << "still no bus: tries again";

    ASSERT_TRUE(bus_control::startBus());
    EXPECT_EQ(client->initKopaFwClient(), KOPA_OK);
    EXPECT_EQ(trace.lines().back(), "KopaFwClient::initKopaFwClient() ->");
}

TEST(ServiceConnection, RequestsFailWhileTheBusIsAbsentAndReachItOnceItIsUp) {
    ASSERT_FALSE(bus_control::busIsUp());
    TraceCapture trace;
    KopaPositioning positioning(nullptr);
    KopaPosition position;
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    EXPECT_EQ(trace.lines().back().rfind("error: dbus_bus_get error ( Name: ", 0), 0u);

    ASSERT_TRUE(bus_control::startBus());
    trace.take();
    // The bus is up but has no positioning service: the request now gets as far as the bus,
    // which answers for the missing service.
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    auto lines = trace.take();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[1], "KopaFwClient::initKopaFwClient() ->");
    EXPECT_EQ(lines[2], "KopaFwClient::currentPosition() <-");
}
