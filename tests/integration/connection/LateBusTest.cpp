// The library meets a system bus that is not there yet, then comes up at the same address.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "BusControl.h"
#include "TraceCapture.h"
#include "fwclient/KopaFwClient.h"

TEST(ServiceConnection, AMissingBusFailsEachRequestAndIsConnectedOnceItIsUp) {
    ASSERT_FALSE(bus_control::busIsUp());
    TraceCapture trace;
    KopaPositioning positioning(nullptr);
    KopaPosition position;
    trace.take();
    for (int attempt = 0; attempt < 2; ++attempt) {  // each request tries again
        EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
                  KOPA_ERROR_GENERAL);
        std::vector<std::string> lines = trace.take();
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[lines.size() - 2], "KopaFwClient::initKopaFwClient() <-");
        EXPECT_EQ(
            lines.back().rfind("error: dbus_bus_get error ( Name: org.freedesktop.DBus.Error.", 0),
            0u)
            << lines.back();
        EXPECT_NE(lines.back().find(" Message: "), std::string::npos);
        EXPECT_EQ(lines.back().back(), ')');
    }
    ASSERT_TRUE(bus_control::startBus());
    // The bus is up but has no positioning service: the request now gets as far as the bus,
    // which answers for the missing service.
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    auto lines = trace.take();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[1], "KopaFwClient::initKopaFwClient() ->");
    EXPECT_EQ(lines[2], "KopaFwClient::currentPosition() <-");
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind(
                   "KopaDbusMessageParser::parseErrorReply(): DBusError name: "
                   "org.freedesktop.DBus.Error.ServiceUnknown Message: ",
                   0) == 0;
    }));
    KopaMeasurements measurements;
    EXPECT_EQ(positioning.currentMeasurements(measurements, 0, 5), KOPA_ERROR_GENERAL);
    EXPECT_EQ(positioning.lastKnownPosition(position, 0), KOPA_ERROR_GENERAL);
    EXPECT_EQ(positioning.convertToPosition(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
}
