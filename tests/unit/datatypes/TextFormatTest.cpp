#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <string>

// The text format through which records travel between the library and the service.
namespace {

enum class Kind { Position, LocationInfo, Measurements };

struct AnyRecord {
    virtual ~AnyRecord() = default;
    virtual int internalize(const std::string& text) = 0;
    virtual int externalize(std::string& text) const = 0;
    virtual bool sameAs(const AnyRecord& other) const = 0;
};

template <typename Record>
struct Held : AnyRecord {
    Record record;
    int internalize(const std::string& text) override { return record.internalize(text); }
    int externalize(std::string& text) const override { return record.externalize(text); }
    bool sameAs(const AnyRecord& other) const override {
        return record == static_cast<const Held&>(other).record;
    }
};

std::unique_ptr<AnyRecord> make(Kind kind) {
    switch (kind) {
        case Kind::Position:
            return std::make_unique<Held<KopaPosition>>();
        case Kind::LocationInfo:
            return std::make_unique<Held<KopaLocationInfo>>();
        case Kind::Measurements:
            break;
    }
    return std::make_unique<Held<KopaMeasurements>>();
}

// A record that holds something, so that a refused text can be seen to leave it alone.
std::unique_ptr<AnyRecord> filled(Kind kind) {
    std::unique_ptr<AnyRecord> record = make(kind);
    const char* texts[] = {"KopaPosition/1 lat=60.1 lon=24.9 hacc=10 method=gnss",
                           "KopaLocationInfo/1 lat=1 lon=2 2.lat=3 2.lon=4",
                           "KopaMeasurements/1 wlan=00:11:22:aa:bb:cc,-60"};
    EXPECT_EQ(record->internalize(texts[static_cast<int>(kind)]), KOPA_TEXT_OK);
    return record;
}

}  // namespace

TEST(TextFormat, CanonicalTextsRoundTripUnchanged) {
    const struct {
        Kind kind;
        const char* text;
    } cases[] = {
        {Kind::Position, "KopaPosition/1 lat=0 lon=0"},
        {Kind::Position,
         "KopaPosition/1 lat=60.1699 lon=24.9384 alt=12.5 hacc=15 vacc=3 time=1700000000000 "
         "speed=1.5 heading=270 method=gnss"},
        {Kind::Position,
         "KopaPosition/1 lat=-90 lon=180 alt=-0 time=-9223372036854775808 "
         "method=hybrid"},
        {Kind::Position, "KopaPosition/1 lat=1e-300 lon=0.1 alt=1.7976931348623157e+308"},
        {Kind::LocationInfo,
         "KopaLocationInfo/1 lat=60.1 lon=30.05 hacc=10 method=gnss "
         "1.lat=60.1 1.lon=30.05 1.hacc=10 1.method=gnss "
         "3.lat=60.2 3.lon=30.1 3.hacc=800 3.method=cell"},
        {Kind::LocationInfo, "KopaLocationInfo/1 lat=1 lon=2 2.lat=3 2.lon=4 4.lat=5 4.lon=6"},
        {Kind::Measurements, "KopaMeasurements/1"},
        {Kind::Measurements,
         "KopaMeasurements/1 cell=lte,244,91,4801,123456,-85,3 "
         "cell=gsm,244,91,4801,42,-101 wlan=00:11:22:aa:bb:cc,-60"},
        {Kind::Measurements,
         "KopaMeasurements/1 cell=nr,65535,0,4294967295,"
         "18446744073709551615,-2147483648,2147483647"},
    };
    for (const auto& c : cases) {
        std::unique_ptr<AnyRecord> record = filled(c.kind);
        ASSERT_EQ(record->internalize(c.text), KOPA_TEXT_OK) << c.text;
        std::string text;
        ASSERT_EQ(record->externalize(text), KOPA_TEXT_OK) << c.text;
        EXPECT_EQ(text, c.text);
        std::unique_ptr<AnyRecord> copy = make(c.kind);
        ASSERT_EQ(copy->internalize(text), KOPA_TEXT_OK);
        EXPECT_TRUE(copy->sameAs(*record)) << c.text;
    }
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
    const struct {
        Kind kind;
        const char* text;
        int code;
    } cases[] = {
        {Kind::Position, " \t ", KOPA_TEXT_EMPTY},
        {Kind::Position, "KopaMeasurements/1", KOPA_TEXT_WRONG_RECORD},
        {Kind::Position, "KopaPosition/2 lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {Kind::Position, "KopaPosition/1 lat=1 lon", KOPA_TEXT_MALFORMED_FIELD},
        {Kind::Position, "KopaPosition/1 lat=nan lon=2", KOPA_TEXT_BAD_NUMBER},
        {Kind::Position, "KopaPosition/1 lat=1 lon=2 heading=360", KOPA_TEXT_OUT_OF_RANGE},
        {Kind::Position, "KopaPosition/1 lon=2 alt=3", KOPA_TEXT_MISSING_FIELD},
        {Kind::Position, "KopaPosition/1 lat=1 lon=2 lat=1", KOPA_TEXT_DUPLICATE_FIELD},
        {Kind::Position, "KopaPosition/1 lat=1 lon=2 method=GNSS", KOPA_TEXT_BAD_VALUE},
        {Kind::LocationInfo, "KopaLocationInfo/1 lat=1 lon=2 2.lat=1", KOPA_TEXT_MISSING_FIELD},
        {Kind::LocationInfo, "KopaLocationInfo/1 lat=1 lon=2 4.lat=1 4.lon=200",
         KOPA_TEXT_OUT_OF_RANGE},
        {Kind::Measurements, "\n", KOPA_TEXT_EMPTY},
        {Kind::Measurements, "KopaMeasurements/1 cell=lte,1,2,3,4", KOPA_TEXT_BAD_VALUE},
        {Kind::Measurements, "KopaMeasurements/1 cell=lte,65536,2,3,4,5", KOPA_TEXT_OUT_OF_RANGE},
        {Kind::Measurements, "KopaMeasurements/1 wlan=00:11:22:aa:bb:cc,loud",
         KOPA_TEXT_BAD_NUMBER},
    };
    for (const auto& c : cases) {
        std::unique_ptr<AnyRecord> record = filled(c.kind);
        EXPECT_EQ(record->internalize(c.text), c.code) << '"' << c.text << '"';
        EXPECT_TRUE(record->sameAs(*filled(c.kind))) << '"' << c.text << '"';
    }
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
