// Seconds to the milliseconds that D-Bus is given.
#include <gtest/gtest.h>

#include <climits>

#include "fwclient/Timeout.h"

TEST(Timeout, ZeroMeansTwentyFourHours) {
    EXPECT_EQ(kopa::toDbusTimeoutMs(0), 86400000);
}

TEST(Timeout, SecondsBecomeMilliseconds) {
    EXPECT_EQ(kopa::toDbusTimeoutMs(1), 1000);
    EXPECT_EQ(kopa::toDbusTimeoutMs(30), 30000);
    EXPECT_EQ(kopa::toDbusTimeoutMs(2147483), 2147483000);
}

TEST(Timeout, TimeoutsTooLongForDbusWaitWithoutLimitInsteadOfWrapping) {
    EXPECT_EQ(kopa::toDbusTimeoutMs(2147484), INT_MAX);
    EXPECT_EQ(kopa::toDbusTimeoutMs(4294967), INT_MAX);
    EXPECT_EQ(kopa::toDbusTimeoutMs(4294968), INT_MAX);  // wraps to 704 ms in 32 bits
    EXPECT_EQ(kopa::toDbusTimeoutMs(UINT_MAX), INT_MAX);
}
