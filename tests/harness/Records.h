#ifndef KOPA_TEST_RECORDS_H
#define KOPA_TEST_RECORDS_H

#include <KopaLocationInfo.h>
#include <KopaMeasurements.h>
#include <KopaPosition.h>

#include <string>

// Records with recognisable values, and their texts, for tests that script the service.
namespace test_records {

inline KopaPosition samplePosition(double latitude = 60.1699, double longitude = 24.9384) {
    KopaPosition position;
    position.setLatitude(latitude);
    position.setLongitude(longitude);
    position.setHorizontalAccuracy(12.5);
    position.setTimestamp(1763880000123);
    position.setMethod(KopaPositionMethod::Gnss);
    return position;
}

inline KopaMeasurements sampleMeasurements() {
    KopaMeasurements measurements;
    KopaCellObservation cell;
    cell.radio = KopaRadio::Lte;
    cell.countryCode = 244;
    cell.networkCode = 91;
    cell.areaCode = 4801;
    cell.cellId = 123456;
    cell.signalStrength = -85;
    cell.hasTimingAdvance = true;
    cell.timingAdvance = 3;
    measurements.addCell(cell);
    KopaWlanObservation wlan;
    wlan.bssid = "00:11:22:aa:bb:cc";
    wlan.signalStrength = -60;
    measurements.addWlan(wlan);
    return measurements;
}

template <typename Record>
std::string textOf(const Record& record) {
    std::string text;
    record.externalize(text);
    return text;
}

// A position record that reports any class type and version, as a newer data-types library
// might.
class PositionOfType : public KopaPosition {
  public:
    PositionOfType(unsigned int classType, unsigned int version)
        : KopaPosition(classType, version) {}
};

}  // namespace test_records

#endif
