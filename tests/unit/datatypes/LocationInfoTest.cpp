#include <KopaLocationInfo.h>
#include <gtest/gtest.h>

#include <string>

namespace {

KopaPosition estimate(double latitude, double accuracy, KopaPositionMethod method) {
    KopaPosition position;
    position.setLatitude(latitude);
    position.setLongitude(latitude / 2);
    position.setHorizontalAccuracy(accuracy);
    position.setMethod(method);
    return position;
}

KopaLocationInfo filledInfo() {
    KopaLocationInfo info;
    info.setKopaPosition(1, estimate(60.1, 10, KopaPositionMethod::Gnss));
    info.setKopaPosition(3, estimate(60.2, 800, KopaPositionMethod::Cell));
    return info;
}

std::string textOf(const KopaPosition& record) {
    std::string text;
    EXPECT_EQ(record.externalize(text), KOPA_TEXT_OK);
    return text;
}

}  // namespace

TEST(LocationInfo, IsAPositionOfClassType2ThatDynamicCastFinds) {
    KopaLocationInfo info;
    KopaPosition plain;
    KopaPosition& asPosition = info;
    KopaPosition& plainPosition = plain;
    EXPECT_EQ(asPosition.type(), 2u);
    EXPECT_EQ(asPosition.version(), 1u);
    EXPECT_EQ(plain.type(), 1u);
    EXPECT_NE(dynamic_cast<KopaLocationInfo*>(&asPosition), nullptr);
    EXPECT_EQ(dynamic_cast<KopaLocationInfo*>(&plainPosition), nullptr);
}

TEST(LocationInfo, StoringSlot1AlsoSetsItsOwnPositionFieldsButOtherSlotsDoNot) {
    KopaLocationInfo info;
    KopaPosition primary = estimate(60.1, 10, KopaPositionMethod::Gnss);
    primary.setTimestamp(1700000000000);
    ASSERT_EQ(info.setKopaPosition(2, estimate(1, 2, KopaPositionMethod::Cell)), 0);
    EXPECT_EQ(info.latitude(), 0.0);

    ASSERT_EQ(info.setKopaPosition(1, primary), 0);
    EXPECT_EQ(info.latitude(), primary.latitude());
    EXPECT_EQ(info.longitude(), primary.longitude());
    EXPECT_EQ(info.horizontalAccuracy(), primary.horizontalAccuracy());
    EXPECT_EQ(info.timestamp(), primary.timestamp());
    EXPECT_EQ(info.method(), KopaPositionMethod::Gnss);
    EXPECT_FALSE(info.hasAltitude());
    EXPECT_EQ(info.type(), 2u);

    // Clearing the slot leaves the last primary estimate readable as the plain position.
    info.clearKopaPosition(1);
    EXPECT_FALSE(info.hasKopaPosition(1));
    EXPECT_EQ(info.latitude(), primary.latitude());
}

TEST(LocationInfo, SlotOperationsRefuseIndexesOutsideOneToFourAndEmptySlots) {
    KopaLocationInfo info;
    KopaPosition position = estimate(5, 5, KopaPositionMethod::Wlan);
    const KopaLocationInfo before = info;
    EXPECT_EQ(info.setKopaPosition(0, position), KopaLocationInfo::kNoSuchSlot);
    EXPECT_EQ(info.setKopaPosition(5, position), KopaLocationInfo::kNoSuchSlot);
    EXPECT_EQ(info, before);
    EXPECT_EQ(info.getKopaPosition(2, position), KopaLocationInfo::kNoSuchSlot);
    EXPECT_EQ(info.getKopaPosition(0, position), KopaLocationInfo::kNoSuchSlot);
    EXPECT_EQ(position, estimate(5, 5, KopaPositionMethod::Wlan));
    EXPECT_FALSE(info.hasKopaPosition(0));
    EXPECT_FALSE(info.hasKopaPosition(5));
    info.clearKopaPosition(7);  // harmless
    EXPECT_EQ(info, before);

    ASSERT_EQ(info.setKopaPosition(4, position), 0);
    KopaPosition out;
    ASSERT_EQ(info.getKopaPosition(4, out), 0);
    EXPECT_EQ(out, position);
}

TEST(LocationInfo, SlotsHoldPlainPositionsEvenWhenGivenALocationInfo) {
    KopaLocationInfo inner = filledInfo();
    KopaLocationInfo info;
    ASSERT_EQ(info.setKopaPosition(2, inner), 0);

    KopaPosition out;
    ASSERT_EQ(info.getKopaPosition(2, out), 0);
    EXPECT_EQ(out.type(), 1u);
    EXPECT_EQ(out.latitude(), inner.latitude());

    // Reading a slot into a location info fills its position fields, not its class type.
    KopaLocationInfo target;
    ASSERT_EQ(info.getKopaPosition(2, target), 0);
    EXPECT_EQ(target.type(), 2u);
    EXPECT_EQ(target.latitude(), inner.latitude());
}

TEST(LocationInfo, RoundTripsEveryCombinationOfFilledSlots) {
    for (unsigned int mask = 0; mask < 16; ++mask) {
        KopaLocationInfo info;
        info.setLatitude(-1.25);  // its own fields, apart from any slot
        for (unsigned int slot = 1; slot <= KopaLocationInfo::kSlots; ++slot) {
            if (mask & (1u << (slot - 1))) {
                KopaPosition position =
                    estimate(slot * 10.0 + 0.1, slot * 3.0, static_cast<KopaPositionMethod>(slot));
                position.setAltitude(-0.0);
                info.setKopaPosition(slot, position);
            }
        }
        std::string text = textOf(info);
        KopaLocationInfo copy = filledInfo();
        ASSERT_EQ(copy.internalize(text), KOPA_TEXT_OK) << text;
        EXPECT_EQ(copy, info) << text;
        for (unsigned int slot = 1; slot <= KopaLocationInfo::kSlots; ++slot) {
            EXPECT_EQ(copy.hasKopaPosition(slot), (mask & (1u << (slot - 1))) != 0);
        }
    }
}

TEST(LocationInfo, WritesSlotFieldsWithTheSlotNumberAsPrefix) {
    EXPECT_EQ(textOf(filledInfo()),
              "KopaLocationInfo/1 lat=60.1 lon=30.05 hacc=10 method=gnss "
              "1.lat=60.1 1.lon=30.05 1.hacc=10 1.method=gnss "
              "3.lat=60.2 3.lon=30.1 3.hacc=800 3.method=cell");
}

TEST(LocationInfo, ReadingAPlainPositionTextFillsSlot1AndClearsTheOthers) {
    KopaPosition reply = estimate(61.5, 25, KopaPositionMethod::Hybrid);
    KopaLocationInfo info = filledInfo();
    KopaPosition& asPosition = info;  // the virtual call a reply parser makes
    ASSERT_EQ(asPosition.internalize(textOf(reply)), KOPA_TEXT_OK);

    KopaPosition slot1;
    ASSERT_EQ(info.getKopaPosition(1, slot1), 0);
    EXPECT_EQ(slot1, reply);
    EXPECT_FALSE(info.hasKopaPosition(2));
    EXPECT_FALSE(info.hasKopaPosition(3));
    EXPECT_EQ(info.latitude(), 61.5);
    EXPECT_EQ(info.method(), KopaPositionMethod::Hybrid);
}

TEST(LocationInfo, TakesAParsedPositionIntoSlot1ThroughDynamicCast) {
    // How a client that knows only KopaPosition& hands a plain reply to a location info.
    KopaLocationInfo info;
    KopaPosition& record = info;
    ASSERT_EQ(record.type(), KopaLocationInfo::kClassType);
    KopaPosition parsed;
    ASSERT_EQ(parsed.internalize("KopaPosition/1 lat=1.5 lon=2.5 hacc=40"), KOPA_TEXT_OK);
    KopaLocationInfo* target = dynamic_cast<KopaLocationInfo*>(&record);
    ASSERT_NE(target, nullptr);
    ASSERT_EQ(target->setKopaPosition(1, parsed), 0);
    EXPECT_TRUE(info.hasKopaPosition(1));
    EXPECT_EQ(record.latitude(), 1.5);
    EXPECT_EQ(record.horizontalAccuracy(), 40.0);
}

TEST(LocationInfo, RefusesMalformedTextWithItsCodeAndKeepsTheRecord) {
    struct Case {
        const char* text;
        int code;
    };
    const Case cases[] = {
        {"", KOPA_TEXT_EMPTY},
        {"KopaMeasurements/1", KOPA_TEXT_WRONG_RECORD},
        {"KopaLocationInfo/2 lat=1 lon=2", KOPA_TEXT_UNSUPPORTED_VERSION},
        {"KopaLocationInfo/1 lat=1 lon=2 2.lat", KOPA_TEXT_MALFORMED_FIELD},
        {"KopaLocationInfo/1 1.lat=1 1.lon=2", KOPA_TEXT_MISSING_FIELD},
        {"KopaLocationInfo/1 lat=1 lon=2 2.lat=1", KOPA_TEXT_MISSING_FIELD},
        {"KopaLocationInfo/1 lat=1 lon=2 2.lat=x 2.lon=1", KOPA_TEXT_BAD_NUMBER},
        {"KopaLocationInfo/1 lat=1 lon=2 4.lat=1 4.lon=200", KOPA_TEXT_OUT_OF_RANGE},
        {"KopaLocationInfo/1 lat=1 lon=2 2.lat=1 2.lon=1 2.lat=1", KOPA_TEXT_DUPLICATE_FIELD},
        {"KopaLocationInfo/1 lat=1 lon=2 3.lat=1 3.lon=1 3.method=x", KOPA_TEXT_BAD_VALUE},
        {"KopaPosition/1 lat=1", KOPA_TEXT_MISSING_FIELD},
    };
    for (const Case& c : cases) {
        KopaLocationInfo info = filledInfo();
        EXPECT_EQ(info.internalize(c.text), c.code) << '"' << c.text << '"';
        EXPECT_EQ(info, filledInfo()) << '"' << c.text << '"';
    }
}

TEST(LocationInfo, IgnoresUnknownFieldsAndSlotsBeyondItsOwn) {
    KopaLocationInfo info;
    ASSERT_EQ(info.internalize("KopaLocationInfo/1.2 lat=1 lon=2 5.lat=3 5.lon=4 1.floor=2 "
                               "2.lat=5 2.lon=6 2.floor=1 note=x"),
              KOPA_TEXT_OK);
    EXPECT_FALSE(info.hasKopaPosition(1));
    EXPECT_TRUE(info.hasKopaPosition(2));
    EXPECT_EQ(info.latitude(), 1.0);
}
