// A registry whose GLib thread system could not be initialised refuses every asynchronous
// request and leaves blocking requests alone.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include "MainLoop.h"
#include "SimFixture.h"

extern "C" bool __wrap_kopa_glib_threads_usable() {
    return false;
}

class NoThreads : public SimTest {};

TEST_F(NoThreads, EveryAsynchronousRequestIsRefusedAndNothingIsSent) {
    RecordingObserver observer;
    KopaPositioning positioning(&observer);
    KopaPosition position;
    KopaMeasurements measurements;
    EXPECT_EQ(positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 5),
              KOPA_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(positioning.currentMeasurementsAsync(measurements, 0, 5), KOPA_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(positioning.lastKnownPositionAsync(position, 0), KOPA_ERROR_NOT_SUPPORTED);
    EXPECT_EQ(
        positioning.convertToPositionAsync(position, measurements, KOPA_PACKET_DATA_ALLOWED, 5),
        KOPA_ERROR_NOT_SUPPORTED);
    EXPECT_TRUE(sim.requests().empty());

    EXPECT_EQ(positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5), KOPA_OK);
    EXPECT_EQ(sim.requests().size(), 1u);
}
