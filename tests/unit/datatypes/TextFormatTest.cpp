#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

// The text format through which records travel between the library and the service.
namespace {

// A record that holds something, so that a refused text can be seen to leave it alone.
template <typename Record>
Record filled() {
    Record record;
    const char* text = std::is_same<Record, KopaMeasurements>::value
                           ? "KopaMeasurements/1 wlan=00:11:22:aa:bb:cc,-60"
                       : std::is_same<Record, KopaLocationInfo>::value
                           ? "KopaLocationInfo/1 lat=1 lon=2 2.lat=3 2.lon=4"
                           : "KopaPosition/1 lat=60.1 lon=24.9 hacc=10 method=gnss";
    EXPECT_EQ(record.internalize(text), KOPA_TEXT_OK);
    return record;
}

template <typename Record>
void expectRoundTrip(const std::string& text) {
    Record record = filled<Record>();
    ASSERT_EQ(record.internalize(text), KOPA_TEXT_OK) << text;
    std::string written;
    ASSERT_EQ(record.externalize(written), KOPA_TEXT_OK) << text;
    EXPECT_EQ(written, text);
    Record copy;
    ASSERT_EQ(copy.internalize(written), KOPA_TEXT_OK);
    EXPECT_TRUE(copy == record) << text;
}

template <typename Record>
void expectRefused(const std::string& text, int code) {
    Record record = filled<Record>();
    EXPECT_EQ(record.internalize(text), code) << '"' << text << '"';
    EXPECT_TRUE(record == filled<Record>()) << '"' << text << '"';
}

}  // namespace

TEST(TextFormat, CanonicalTextsRoundTripUnchanged) {
    expectRoundTrip<KopaPosition>("KopaPosition/1 lat=0 lon=0");
    expectRoundTrip<KopaPosition>(
        "KopaPosition/1 lat=60.1699 lon=24.9384 alt=12.5 hacc=15 vacc=3 time=1700000000000 "
        "speed=1.5 heading=270 method=gnss");
    expectRoundTrip<KopaPosition>(
        "KopaPosition/1 lat=-90 lon=180 alt=-0 time=-9223372036854775808 method=hybrid");
    expectRoundTrip<KopaPosition>("KopaPosition/1 lat=1e-300 lon=0.1 alt=1.7976931348623157e+308");
    expectRoundTrip<KopaLocationInfo>(
        "KopaLocationInfo/1 lat=60.1 lon=30.05 hacc=10 method=gnss 1.lat=60.1 1.lon=30.05 "
        "1.hacc=10 1.method=gnss 3.lat=60.2 3.lon=30.1 3.hacc=800 3.method=cell");
    expectRoundTrip<KopaLocationInfo>(
        "KopaLocationInfo/1 lat=1 lon=2 2.lat=3 2.lon=4 4.lat=5 4.lon=6");
    expectRoundTrip<KopaMeasurements>("KopaMeasurements/1");
    expectRoundTrip<KopaMeasurements>(
        "KopaMeasurements/1 cell=lte,244,91,4801,123456,-85,3 "
        "cell=gsm,244,91,4801,42,-101 wlan=00:11:22:aa:bb:cc,-60");
    expectRoundTrip<KopaMeasurements>(
        "KopaMeasurements/1 cell=nr,65535,0,4294967295,"
        "18446744073709551615,-2147483648,2147483647");
}

TEST(TextFormat, DoublesRoundTripBitForBit) {
    for (double value : {0.1, -0.0, 1.0 / 3.0, std::numeric_limits<double>::denorm_min(),
                         std::numeric_limits<double>::lowest(), 123456789012345680.0}) {
        KopaPosition position;
        position.setAltitude(value);
        std::string text;
        ASSERT_EQ(position.externalize(text), KOPA_TEXT_OK);
        KopaPosition copy;
        ASSERT_EQ(copy.internalize(text), KOPA_TEXT_OK) << text;
        double read = copy.altitude();
        EXPECT_EQ(std::memcmp(&read, &value, sizeof value), 0) << text;
    }
}

TEST(TextFormat, MalformedTextsGetTheirCodeAndLeaveTheRecordAlone) {
    expectRefused<KopaPosition>(" \t ", KOPA_TEXT_EMPTY);
    expectRefused<KopaPosition>("KopaMeasurements/1", KOPA_TEXT_WRONG_RECORD);
    expectRefused<KopaPosition>("KopaPosition/2 lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon", KOPA_TEXT_MALFORMED_FIELD);
    expectRefused<KopaPosition>("KopaPosition/1 lat=nan lon=2", KOPA_TEXT_BAD_NUMBER);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 heading=360", KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaPosition>("KopaPosition/1 lon=2 alt=3", KOPA_TEXT_MISSING_FIELD);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 lat=1", KOPA_TEXT_DUPLICATE_FIELD);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 method=GNSS", KOPA_TEXT_BAD_VALUE);
    expectRefused<KopaLocationInfo>("KopaLocationInfo/1 lat=1 lon=2 2.lat=1",
                                    KOPA_TEXT_MISSING_FIELD);
    expectRefused<KopaLocationInfo>("KopaLocationInfo/1 lat=1 lon=2 4.lat=1 4.lon=200",
                                    KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaMeasurements>("\n", KOPA_TEXT_EMPTY);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 cell=lte,1,2,3,4", KOPA_TEXT_BAD_VALUE);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 cell=lte,65536,2,3,4,5",
                                    KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 wlan=00:11:22:aa:bb:cc,loud",
                                    KOPA_TEXT_BAD_NUMBER);
    // The other rules by which a record refuses a text, one case each.
    expectRefused<KopaPosition>("KopaPosition lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 =3", KOPA_TEXT_MALFORMED_FIELD);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1-2 lon=2", KOPA_TEXT_BAD_NUMBER);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1e999 lon=2", KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 time=1.5", KOPA_TEXT_BAD_NUMBER);
    expectRefused<KopaPosition>("KopaPosition/1 lat=1 lon=2 time=9223372036854775808",
                                KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaPosition>("KopaPosition/1 note=no-position-field", KOPA_TEXT_MISSING_FIELD);
    expectRefused<KopaLocationInfo>("KopaLocationInfo/1 2.lat=1 2.lon=2", KOPA_TEXT_MISSING_FIELD);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 cell=radio,1,2,3,4,5", KOPA_TEXT_BAD_VALUE);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 cell=lte,-1,2,3,4,5",
                                    KOPA_TEXT_OUT_OF_RANGE);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 cell=lte,1,2,3,4,5,x",
                                    KOPA_TEXT_BAD_NUMBER);
    expectRefused<KopaMeasurements>("KopaMeasurements/1 wlan=00-11-22-aa-bb-cc,-50",
                                    KOPA_TEXT_BAD_VALUE);
}

TEST(TextFormat, APlainPositionTextFillsSlot1OfALocationInfo) {
    KopaLocationInfo info;
    KopaPosition& asPosition = info;  // the virtual call a reply parser makes
    ASSERT_EQ(asPosition.internalize("KopaPosition/1 lat=61.5 lon=2 method=wlan"), KOPA_TEXT_OK);
    KopaPosition slot1;
    ASSERT_EQ(info.getKopaPosition(1, slot1), 0);
    EXPECT_EQ(slot1.latitude(), 61.5);
    EXPECT_EQ(info.latitude(), 61.5);
    EXPECT_EQ(info.type(), 2u);
}
