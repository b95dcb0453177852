// convertToPosition: a real answer computed from the radio map of the scenario.
#include <gmock/gmock.h>

#include <cmath>

#include "SimTestSupport.h"

namespace {

// Two access points 0.01 degrees of longitude apart on the 10th parallel, a cell to the north.
const char* const kSmallMap = R"(
map wlan 02:00:00:00:00:01 10.0 20.00
map wlan 02:00:00:00:00:02 10.0 20.01 60
map cell lte,244,91,7,1001 10.1 20.0 900
)";

constexpr double kMetresPerDegree = 111195.0;  // of latitude, on the mean sphere

class Conversion : public KopadSim {
  protected:
    void SetUp() override {
        KopadSim::SetUp();
        sim.loadScenario(kSmallMap);
    }

    static KopaWlanObservation wlan(const std::string& bssid, int dBm) {
        KopaWlanObservation observation;
        observation.bssid = bssid;
        observation.signalStrength = dBm;
        return observation;
    }

    static KopaCellObservation cell(std::uint64_t id, int dBm) {
        KopaCellObservation observation;
        observation.radio = KopaRadio::Lte;
        observation.countryCode = 244;
        observation.networkCode = 91;
        observation.areaCode = 7;
        observation.cellId = id;
        observation.signalStrength = dBm;
        return observation;
    }

    Answer convert(const KopaMeasurements& measurements, guint16 classType = 1) {
        return client.request("convertToPosition", convertArgs(textOf(measurements), classType));
    }
};

}  // namespace

TEST_F(Conversion, AnswersTheSignalWeightedCentroidOfTheKnownAccessPoints) {
    KopaMeasurements measurements;
    measurements.addWlan(wlan("02:00:00:00:00:01", -50));  // weight 70
    measurements.addWlan(wlan("02:00:00:00:00:02", -90));  // weight 30
    measurements.addWlan(wlan("02:00:00:00:00:99", -30));  // not on the map: ignored
    KopaPosition position = positionFrom(convert(measurements));

    EXPECT_NEAR(position.latitude(), 10.0, 1e-6);
    EXPECT_NEAR(position.longitude(), 20.003, 1e-6);
    EXPECT_EQ(position.method(), KopaPositionMethod::Wlan);
    // Weighted root mean square of each access point's distance from the centroid and its
    // range (50 m unless the map gives one).
    const double metresPerLonDegree = kMetresPerDegree * std::cos(10.0 * M_PI / 180.0);
    const double d1 = 0.003 * metresPerLonDegree;
    const double d2 = 0.007 * metresPerLonDegree;
    const double expected = std::sqrt((70 * (d1 * d1 + 50 * 50) + 30 * (d2 * d2 + 60 * 60)) / 100);
    ASSERT_TRUE(position.hasHorizontalAccuracy());
    EXPECT_NEAR(position.horizontalAccuracy(), expected, 1.0);
}

TEST_F(Conversion, OneKnownCellGivesItsPlaceWithItsRangeAsAccuracy) {
    KopaMeasurements measurements;
    measurements.addCell(cell(1001, -100));
    measurements.addCell(cell(1002, -60));  // unknown
    KopaPosition position = positionFrom(convert(measurements));
    EXPECT_NEAR(position.latitude(), 10.1, 1e-9);
    EXPECT_NEAR(position.longitude(), 20.0, 1e-9);
    EXPECT_NEAR(position.horizontalAccuracy(), 900.0, 1e-6);
    EXPECT_EQ(position.method(), KopaPositionMethod::Cell);
}

TEST_F(Conversion, CellsAndAccessPointsTogetherMakeAHybridFixWeightedBySignal) {
    KopaMeasurements measurements;
    measurements.addCell(cell(1001, -119));                // weight 1
    measurements.addWlan(wlan("02:00:00:00:00:01", -21));  // weight 99
    KopaPosition position = positionFrom(convert(measurements));
    EXPECT_NEAR(position.latitude(), 10.001, 1e-6);
    EXPECT_EQ(position.method(), KopaPositionMethod::Hybrid);
}

TEST_F(Conversion, TheAnswerIsAPlainPositionAlsoForALocationInfo) {
    KopaMeasurements measurements;
    measurements.addCell(cell(1001, -70));
    Answer answer = convert(measurements, 2);
    EXPECT_EQ(answer.text.rfind("KopaPosition/", 0), 0u) << answer.text;
    auto requests = sim.requests();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].numbers, (std::vector<long long>{0, 2, 1}));
}

TEST_F(Conversion, MeasurementsWithNoKnownTransmitterAnswerInformationShortage) {
    KopaMeasurements unknown;
    unknown.addWlan(wlan("02:00:00:00:00:99", -40));
    unknown.addCell(cell(1002, -60));
    for (const KopaMeasurements& measurements : {unknown, KopaMeasurements()}) {
        Answer answer = convert(measurements);
        ASSERT_EQ(answer.kind, Answer::Kind::Error);
        EXPECT_EQ(answer.errorName, "com.ruvex.location.kopad.Error");
        EXPECT_EQ(answer.message, "Information shortage (45)");
    }
}

TEST_F(Conversion, AnUnreadableMeasurementsTextAnswersBadRequest) {
    Answer answer = client.request("convertToPosition", convertArgs("no measurements here"));
    ASSERT_EQ(answer.kind, Answer::Kind::Error);
    EXPECT_EQ(answer.message, "Bad request (41)");
}

TEST_F(Conversion, LastKnownPositionIsTheLastOneHandedOutUntilReset) {
    KopaPosition configured = positionFrom(client.request("lastKnownPosition", lastKnownArgs()));
    EXPECT_NEAR(configured.latitude(), 60.1699, 1e-9);  // the built-in position stays

    KopaMeasurements measurements;
    measurements.addCell(cell(1001, -70));
    KopaPosition converted = positionFrom(convert(measurements));
    EXPECT_EQ(positionFrom(client.request("lastKnownPosition", lastKnownArgs())), converted);

    KopaPosition scripted;
    scripted.setLatitude(-33.5);
    scripted.setLongitude(151.25);
    sim.pushOutcomes("currentPosition", {"reply " + textOf(scripted), "reply not a position"});
    client.request("currentPosition", currentPositionArgs());
    client.request("currentPosition", currentPositionArgs());  // nothing readable: not kept
    EXPECT_EQ(positionFrom(client.request("lastKnownPosition", lastKnownArgs())), scripted);

    sim.reset();
    EXPECT_NEAR(positionFrom(client.request("lastKnownPosition", lastKnownArgs())).latitude(),
                60.1699, 1e-9);
}
