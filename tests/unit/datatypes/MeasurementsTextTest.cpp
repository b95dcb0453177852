#include <KopaMeasurements.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>

namespace {

KopaCellObservation cell(KopaRadio radio, std::uint64_t id, int dbm) {
    KopaCellObservation observation;
    observation.radio = radio;
    observation.countryCode = 244;
    observation.networkCode = 91;
    observation.areaCode = 4801;
    observation.cellId = id;
    observation.signalStrength = dbm;
    return observation;
}

KopaWlanObservation wlan(const std::string& bssid, int dbm) {
    KopaWlanObservation observation;
    observation.bssid = bssid;
    observation.signalStrength = dbm;
    return observation;
}

KopaMeasurements sample() {
    KopaMeasurements measurements;
    KopaCellObservation serving = cell(KopaRadio::Lte, 123456, -85);
    serving.hasTimingAdvance = true;
    serving.timingAdvance = 3;
    measurements.addCell(serving);
    measurements.addCell(cell(KopaRadio::Gsm, 42, -101));
    measurements.addWlan(wlan("00:11:22:aa:bb:cc", -60));
    return measurements;
}

std::string textOf(const KopaMeasurements& measurements) {
    std::string text;
    EXPECT_EQ(measurements.externalize(text), KOPA_TEXT_OK);
    return text;
}

}  // namespace

TEST(MeasurementsText, IsOneLineWithACellOrWlanFieldPerObservation) {
    EXPECT_EQ(textOf(sample()),
              "KopaMeasurements/1 cell=lte,244,91,4801,123456,-85,3 "
              "cell=gsm,244,91,4801,42,-101 wlan=00:11:22:aa:bb:cc,-60");
    EXPECT_EQ(textOf(KopaMeasurements()), "KopaMeasurements/1");
}

TEST(MeasurementsText, RoundTripsNoObservations) {
    KopaMeasurements measurements = sample();
    ASSERT_EQ(measurements.internalize(textOf(KopaMeasurements())), KOPA_TEXT_OK);
    EXPECT_TRUE(measurements.empty());
}

TEST(MeasurementsText, RoundTripsManyCellsAndWlansInOrderWithExtremeValues) {
    KopaMeasurements measurements;
    const KopaRadio radios[] = {KopaRadio::Gsm, KopaRadio::Umts, KopaRadio::Lte, KopaRadio::Nr};
    for (int i = 0; i < 300; ++i) {
        KopaCellObservation observation = cell(radios[i % 4], static_cast<std::uint64_t>(i), -i);
        if (i % 3 == 0) {
            observation.hasTimingAdvance = true;
            observation.timingAdvance = i;
        }
        measurements.addCell(observation);
        char bssid[18];
        std::snprintf(bssid, sizeof bssid, "02:00:00:00:%02x:%02x", i / 256, i % 256);
        measurements.addWlan(wlan(bssid, -i / 3));
    }
    KopaCellObservation extreme = cell(KopaRadio::Nr, std::numeric_limits<std::uint64_t>::max(),
                                       std::numeric_limits<int>::min());
    extreme.countryCode = std::numeric_limits<std::uint16_t>::max();
    extreme.networkCode = 0;
    extreme.areaCode = std::numeric_limits<std::uint32_t>::max();
    extreme.hasTimingAdvance = true;
    extreme.timingAdvance = std::numeric_limits<int>::max();
    measurements.addCell(extreme);

    KopaMeasurements copy;
    ASSERT_EQ(copy.internalize(textOf(measurements)), KOPA_TEXT_OK);
    EXPECT_EQ(copy, measurements);
    ASSERT_EQ(copy.cells().size(), 301u);
    ASSERT_EQ(copy.wlans().size(), 300u);
    EXPECT_EQ(copy.cells().back().cellId, std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(copy.wlans()[299].bssid, "02:00:00:00:01:2b");
}

TEST(MeasurementsText, KeepsBssidsInLowerCase) {
    KopaMeasurements read;
    ASSERT_EQ(read.internalize("KopaMeasurements/1 wlan=00:1A:2b:CC:dd:EE,-70"), KOPA_TEXT_OK);
    EXPECT_EQ(read.wlans().at(0).bssid, "00:1a:2b:cc:dd:ee");

    KopaMeasurements upper;
    upper.addWlan(wlan("AA:BB:CC:DD:EE:FF", -50));
    EXPECT_EQ(textOf(upper), "KopaMeasurements/1 wlan=aa:bb:cc:dd:ee:ff,-50");
    KopaMeasurements copy;
    ASSERT_EQ(copy.internalize(textOf(upper)), KOPA_TEXT_OK);
    EXPECT_EQ(copy, upper);  // the same access point in either case
}

TEST(MeasurementsText, ExternalizeRefusesAMalformedBssidOrRadioAndLeavesTheTextAlone) {
    for (const char* bssid : {"", "00:11:22:aa:bb", "00-11-22-aa-bb-cc", "00:11:22:aa:bb:cg",
                              "000:11:22:aa:bb:c", "00:11:22:aa:bb:cc:dd", "0:11:22:aa:bb:cc"}) {
        KopaMeasurements measurements = sample();
        measurements.addWlan(wlan(bssid, -1));
        std::string text = "untouched";
        EXPECT_EQ(measurements.externalize(text), KOPA_TEXT_NOT_REPRESENTABLE) << bssid;
        EXPECT_EQ(text, "untouched");
    }
    KopaMeasurements measurements;
    measurements.addCell(cell(static_cast<KopaRadio>(9), 1, -1));
    std::string text;
    EXPECT_EQ(measurements.externalize(text), KOPA_TEXT_NOT_REPRESENTABLE);
}

TEST(MeasurementsText, RefusesEachKindOfMalformedTextWithItsCodeAndKeepsTheRecord) {
    struct Case {
        const char* text;
        int code;
    };
    const Case cases[] = {
        {"", KOPA_TEXT_EMPTY},
        {"\n", KOPA_TEXT_EMPTY},
        {"KopaPosition/1 lat=1 lon=2", KOPA_TEXT_WRONG_RECORD},
        {"cell=lte,1,2,3,4,5", KOPA_TEXT_WRONG_RECORD},
        {"KopaMeasurements/2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaMeasurements/1 cell", KOPA_TEXT_MALFORMED_FIELD},
        {"KopaMeasurements/1 cell=lte,1,2,3,4", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 cell=lte,1,2,3,4,5,6,7", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 cell=wimax,1,2,3,4,5", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 cell=LTE,1,2,3,4,5", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 cell=lte,x,2,3,4,5", KOPA_TEXT_BAD_NUMBER},
        {"KopaMeasurements/1 cell=lte,1,2,3,4,", KOPA_TEXT_BAD_NUMBER},
        {"KopaMeasurements/1 cell=lte,1,2,3,4,-5.5", KOPA_TEXT_BAD_NUMBER},
        {"KopaMeasurements/1 cell=lte,65536,2,3,4,5", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaMeasurements/1 cell=lte,-1,2,3,4,5", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaMeasurements/1 cell=lte,1,2,4294967296,4,5", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaMeasurements/1 cell=lte,1,2,3,18446744073709551616,5", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaMeasurements/1 cell=lte,1,2,3,4,2147483648", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaMeasurements/1 wlan=00:11:22:aa:bb:cc", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 wlan=00:11:22:aa:bb:zz,-60", KOPA_TEXT_BAD_VALUE},
        {"KopaMeasurements/1 wlan=00:11:22:aa:bb:cc,loud", KOPA_TEXT_BAD_NUMBER},
    };
    for (const Case& c : cases) {
        KopaMeasurements measurements = sample();
        EXPECT_EQ(measurements.internalize(c.text), c.code) << '"' << c.text << '"';
        EXPECT_EQ(measurements, sample()) << '"' << c.text << '"';
    }
}

TEST(MeasurementsText, IgnoresUnknownFieldsAndANewerMinorVersion) {
    KopaMeasurements measurements;
    ASSERT_EQ(measurements.internalize("KopaMeasurements/1.4 bt=aa:bb,-3 "
                                       "wlan=00:11:22:aa:bb:cc,-60 age=12"),
              KOPA_TEXT_OK);
    EXPECT_TRUE(measurements.cells().empty());
    EXPECT_EQ(measurements.wlans().size(), 1u);
}
