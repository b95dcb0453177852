#include <KopaLocationInfo.h>
#include <KopaPosition.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

std::uint64_t bitsOf(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

KopaPosition fullPosition() {
    KopaPosition position;
    position.setLatitude(60.1699);
    position.setLongitude(24.9384);
    position.setAltitude(12.5);
    position.setHorizontalAccuracy(15);
    position.setVerticalAccuracy(3);
    position.setTimestamp(1700000000000);
    position.setSpeed(1.5);
    position.setHeading(270);
    position.setMethod(KopaPositionMethod::Gnss);
    return position;
}

KopaPosition roundTrip(const KopaPosition& original) {
    std::string text;
    EXPECT_EQ(original.externalize(text), KOPA_TEXT_OK);
    KopaPosition copy;
    EXPECT_EQ(copy.internalize(text), KOPA_TEXT_OK) << text;
    return copy;
}

}  // namespace

TEST(PositionText, IsOneReadableLineWithRecordNameAndVersionFirst) {
    std::string text;
    ASSERT_EQ(fullPosition().externalize(text), KOPA_TEXT_OK);
    EXPECT_EQ(text,
              "KopaPosition/1 lat=60.1699 lon=24.9384 alt=12.5 hacc=15 vacc=3 "
              "time=1700000000000 speed=1.5 heading=270 method=gnss");

    ASSERT_EQ(KopaPosition().externalize(text), KOPA_TEXT_OK);
    EXPECT_EQ(text, "KopaPosition/1 lat=0 lon=0");
}

TEST(PositionText, RoundTripsEveryCombinationOfOptionalFields) {
    for (unsigned int mask = 0; mask < 128; ++mask) {
        KopaPosition full = fullPosition();
        KopaPosition position;
        position.setLatitude(-33.8688);
        position.setLongitude(151.2093);
        if (mask & 1)
            position.setAltitude(full.altitude());
        if (mask & 2)
            position.setHorizontalAccuracy(full.horizontalAccuracy());
        if (mask & 4)
            position.setVerticalAccuracy(full.verticalAccuracy());
        if (mask & 8)
            position.setTimestamp(full.timestamp());
        if (mask & 16)
            position.setSpeed(full.speed());
        if (mask & 32)
            position.setHeading(full.heading());
        if (mask & 64)
            position.setMethod(KopaPositionMethod::Hybrid);

        KopaPosition copy = roundTrip(position);
        EXPECT_EQ(copy, position) << "mask " << mask;
        EXPECT_EQ(copy.hasAltitude(), (mask & 1) != 0);
        EXPECT_EQ(copy.hasHorizontalAccuracy(), (mask & 2) != 0);
        EXPECT_EQ(copy.hasVerticalAccuracy(), (mask & 4) != 0);
        EXPECT_EQ(copy.hasTimestamp(), (mask & 8) != 0);
        EXPECT_EQ(copy.hasSpeed(), (mask & 16) != 0);
        EXPECT_EQ(copy.hasHeading(), (mask & 32) != 0);
    }
}

TEST(PositionText, RoundTripsEveryMethodAndExtremeTimestamps) {
    for (KopaPositionMethod method :
         {KopaPositionMethod::Unknown, KopaPositionMethod::Gnss, KopaPositionMethod::Cell,
          KopaPositionMethod::Wlan, KopaPositionMethod::Hybrid}) {
        KopaPosition position;
        position.setMethod(method);
        EXPECT_EQ(roundTrip(position).method(), method);
    }
    for (std::int64_t time : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1},
                              std::int64_t{0}, std::numeric_limits<std::int64_t>::max()}) {
        KopaPosition position;
        position.setTimestamp(time);
        EXPECT_EQ(roundTrip(position).timestamp(), time);
    }
}

TEST(PositionText, RoundTripsAwkwardDoublesBitForBit) {
    const double awkward[] = {
        0.1,
        -0.0,
        1e-300,
        std::numeric_limits<double>::denorm_min(),
        2.2250738585072009e-308,  // the largest denormal
        std::numeric_limits<double>::min(),
        std::numeric_limits<double>::max(),
        std::numeric_limits<double>::lowest(),
        1.0 / 3.0,
        123456789012345680.0,
    };
    for (double value : awkward) {
        KopaPosition position;
        position.setAltitude(value);
        position.setHorizontalAccuracy(std::fabs(value));
        position.setLatitude(std::fmod(value, 90.0));
        position.setLongitude(std::fmod(value, 180.0));
        KopaPosition copy = roundTrip(position);
        EXPECT_EQ(bitsOf(copy.altitude()), bitsOf(value)) << value;
        EXPECT_EQ(bitsOf(copy.horizontalAccuracy()), bitsOf(std::fabs(value)));
        EXPECT_EQ(bitsOf(copy.latitude()), bitsOf(position.latitude()));
        EXPECT_EQ(bitsOf(copy.longitude()), bitsOf(position.longitude()));
    }
}

TEST(PositionText, RoundTripsManyRandomDoublesBitForBit) {
    std::mt19937_64 random(20240601);
    std::uniform_real_distribution<double> latitude(-90.0, 90.0);
    std::uniform_real_distribution<double> heading(0.0, 360.0);
    for (int i = 0; i < 20000; ++i) {
        // Any bit pattern that is a finite double, for the field that takes any finite value.
        double altitude = 0.0;
        do {
            std::uint64_t bits = random();
            std::memcpy(&altitude, &bits, sizeof altitude);
        } while (!std::isfinite(altitude));
        KopaPosition position;
        position.setLatitude(latitude(random));
        position.setAltitude(altitude);
        position.setSpeed(std::fabs(altitude));
        position.setHeading(heading(random));
        KopaPosition copy = roundTrip(position);
        ASSERT_EQ(bitsOf(copy.altitude()), bitsOf(altitude));
        ASSERT_EQ(bitsOf(copy.latitude()), bitsOf(position.latitude()));
        ASSERT_EQ(bitsOf(copy.heading()), bitsOf(position.heading()));
        ASSERT_EQ(copy, position);
    }
}

TEST(PositionText, RefusesEachKindOfMalformedTextWithItsCodeAndKeepsTheRecord) {
    struct Case {
        const char* text;
        int code;
    };
    const Case cases[] = {
        {"", KOPA_TEXT_EMPTY},
        {" \t ", KOPA_TEXT_EMPTY},
        {"KopaMeasurements/1", KOPA_TEXT_WRONG_RECORD},
        {"lat=1 lon=2", KOPA_TEXT_WRONG_RECORD},
        {"kopaposition/1 lat=1 lon=2", KOPA_TEXT_WRONG_RECORD},
        {"KopaPosition/2 lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaPosition/0 lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaPosition lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaPosition/one lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaPosition/1. lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaPosition/1 lat=1 lon", KOPA_TEXT_MALFORMED_FIELD},
        {"KopaPosition/1 =1 lat=1 lon=2", KOPA_TEXT_MALFORMED_FIELD},
        {"KopaPosition/1 lat=north lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=nan lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=1 lon=inf", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=1,5 lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat= lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=+1 lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=0x10 lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=1e lon=2", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=1 lon=2 time=1.5", KOPA_TEXT_BAD_NUMBER},
        {"KopaPosition/1 lat=90.000001 lon=2", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=-180.0001", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 hacc=-1", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 vacc=-0.5", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 speed=-0.1", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 heading=360", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 heading=-1", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 alt=1e999", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1 lon=2 time=9223372036854775808", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaPosition/1 lat=1", KOPA_TEXT_MISSING_FIELD},
        {"KopaPosition/1 lon=2 alt=3", KOPA_TEXT_MISSING_FIELD},
        {"KopaPosition/1", KOPA_TEXT_MISSING_FIELD},
        {"KopaPosition/1 lat=1 lon=2 lat=1", KOPA_TEXT_DUPLICATE_FIELD},
        {"KopaPosition/1 lat=1 lon=2 method=gnss method=gnss", KOPA_TEXT_DUPLICATE_FIELD},
        {"KopaPosition/1 lat=1 lon=2 method=teleport", KOPA_TEXT_BAD_VALUE},
        {"KopaPosition/1 lat=1 lon=2 method=GNSS", KOPA_TEXT_BAD_VALUE},
    };
    for (const Case& c : cases) {
        KopaPosition position = fullPosition();
        EXPECT_EQ(position.internalize(c.text), c.code) << '"' << c.text << '"';
        EXPECT_EQ(position, fullPosition()) << '"' << c.text << '"';
    }
}

TEST(PositionText, IgnoresUnknownFieldsAndANewerMinorVersion) {
    KopaPosition position;
    ASSERT_EQ(position.internalize("  KopaPosition/1.7 floor=3 lat=1.5 source=x=y lon=-2 \n"),
              KOPA_TEXT_OK);
    EXPECT_EQ(position.latitude(), 1.5);
    EXPECT_EQ(position.longitude(), -2.0);
    EXPECT_FALSE(position.hasAltitude());
}

TEST(PositionText, ReadingUnsetsOptionalFieldsTheTextLeavesOut) {
    KopaPosition position = fullPosition();
    ASSERT_EQ(position.internalize("KopaPosition/1 lat=1 lon=2"), KOPA_TEXT_OK);
    EXPECT_FALSE(position.hasAltitude());
    EXPECT_FALSE(position.hasHorizontalAccuracy());
    EXPECT_FALSE(position.hasVerticalAccuracy());
    EXPECT_FALSE(position.hasTimestamp());
    EXPECT_FALSE(position.hasSpeed());
    EXPECT_FALSE(position.hasHeading());
    EXPECT_EQ(position.method(), KopaPositionMethod::Unknown);
}

TEST(PositionText, ExternalizeRefusesValuesTheTextCannotCarryAndLeavesTheTextAlone) {
    std::vector<KopaPosition> bad(8, fullPosition());
    bad[0].setLatitude(std::nan(""));
    bad[1].setLongitude(std::numeric_limits<double>::infinity());
    bad[2].setAltitude(-std::numeric_limits<double>::infinity());
    bad[3].setLatitude(90.5);
    bad[4].setHeading(360);
    bad[5].setSpeed(-1);
    bad[6].setHorizontalAccuracy(std::nan(""));
    bad[7].setMethod(static_cast<KopaPositionMethod>(99));
    for (const KopaPosition& position : bad) {
        std::string text = "untouched";
        EXPECT_EQ(position.externalize(text), KOPA_TEXT_NOT_REPRESENTABLE);
        EXPECT_EQ(text, "untouched");
    }
}

TEST(PositionText, ReadsThePrimaryEstimateOfALocationInfoText) {
    KopaLocationInfo info;
    KopaPosition other;
    other.setLatitude(10);
    info.setKopaPosition(1, fullPosition());
    info.setKopaPosition(2, other);
    std::string text;
    ASSERT_EQ(info.externalize(text), KOPA_TEXT_OK);

    KopaPosition position;
    ASSERT_EQ(position.internalize(text), KOPA_TEXT_OK);
    EXPECT_EQ(position, fullPosition());
    EXPECT_EQ(position.type(), KopaPosition::kClassType);
}
