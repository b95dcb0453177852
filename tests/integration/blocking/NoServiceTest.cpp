// A bus without the positioning service on it.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "TraceCapture.h"

TEST(NoService, EveryBlockingRequestFailsWithTheGeneralError) {
    TraceCapture trace;
    KopaPositioning positioning(nullptr);
    KopaPosition position;
    KopaMeasurements measurements;
    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    EXPECT_EQ(positioning.currentMeasurements(measurements, 0, 5), KOPA_ERROR_GENERAL);
    EXPECT_EQ(positioning.lastKnownPosition(position, 0), KOPA_ERROR_GENERAL);
    EXPECT_EQ(positioning.convertToPosition(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_GENERAL);
    auto lines = trace.lines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind(
                   "KopaDbusMessageParser::parseErrorReply(): DBusError name: "
                   "org.freedesktop.DBus.Error.ServiceUnknown Message: ",
                   0) == 0;
    }));
}
