#include "Records.h"

namespace py = pybind11;

namespace kopapy {

namespace {

py::object optional(bool isSet, double value) {
    return isSet ? py::object(py::float_(value)) : py::object(py::none());
}

}  // namespace

py::tuple positionTuple(const KopaPosition& p) {
    py::object timestamp = p.hasTimestamp() ? py::object(py::int_(p.timestamp())) : py::none();
    return py::make_tuple(p.latitude(), p.longitude(), optional(p.hasAltitude(), p.altitude()),
                          optional(p.hasHorizontalAccuracy(), p.horizontalAccuracy()),
                          optional(p.hasVerticalAccuracy(), p.verticalAccuracy()), timestamp,
                          optional(p.hasSpeed(), p.speed()), optional(p.hasHeading(), p.heading()),
                          static_cast<int>(p.method()));
}

py::tuple measurementsTuple(const KopaMeasurements& measurements) {
    std::string text;
    measurements.externalize(text);
    py::list cells;
    for (const KopaCellObservation& c : measurements.cells()) {
        py::object advance =
            c.hasTimingAdvance ? py::object(py::int_(c.timingAdvance)) : py::none();
        cells.append(py::make_tuple(static_cast<int>(c.radio), c.countryCode, c.networkCode,
                                    c.areaCode, c.cellId, c.signalStrength, advance));
    }
    py::list accessPoints;
    for (const KopaWlanObservation& w : measurements.wlans()) {
        accessPoints.append(py::make_tuple(w.bssid, w.signalStrength));
    }
    return py::make_tuple(text, cells, accessPoints);
}

py::tuple failureTuple(const kopa::Error& error) {
    const KopaFailureCause& cause = error.cause();
    return py::make_tuple(error.code(), error.name(), error.message(), static_cast<int>(cause.kind),
                          cause.errorName, cause.message);
}

py::tuple outcome(const kopa::Result<KopaPosition>& result) {
    if (result.ok()) {
        return py::make_tuple(positionTuple(result.value()), py::none());
    }
    return py::make_tuple(py::none(), failureTuple(result.error()));
}

py::tuple outcome(const kopa::Result<KopaMeasurements>& result) {
    if (result.ok()) {
        return py::make_tuple(measurementsTuple(result.value()), py::none());
    }
    return py::make_tuple(py::none(), failureTuple(result.error()));
}

kopa::Result<KopaMeasurements> readMeasurements(const std::string& text) {
    KopaMeasurements measurements;
    int code = measurements.internalize(text);
    if (code != KOPA_TEXT_OK) {
        return kopa::Error(code, KopaFailureCause{KOPA_FAILURE_REFUSED, "",
                                                  "the measurements text could not be read"});
    }
    return measurements;
}

py::tuple writeMeasurements(const py::iterable& cells, const py::iterable& accessPoints) {
    KopaMeasurements measurements;
    for (py::handle item : cells) {
        auto c = item.cast<py::tuple>();
        KopaCellObservation cell;
        cell.radio = static_cast<KopaRadio>(c[0].cast<int>());
        cell.countryCode = c[1].cast<std::uint16_t>();
        cell.networkCode = c[2].cast<std::uint16_t>();
        cell.areaCode = c[3].cast<std::uint32_t>();
        cell.cellId = c[4].cast<std::uint64_t>();
        cell.signalStrength = c[5].cast<int>();
        cell.hasTimingAdvance = !c[6].is_none();
        cell.timingAdvance = cell.hasTimingAdvance ? c[6].cast<int>() : 0;
        measurements.addCell(cell);
    }
    for (py::handle item : accessPoints) {
        auto w = item.cast<py::tuple>();
        measurements.addWlan(KopaWlanObservation{w[0].cast<std::string>(), w[1].cast<int>()});
    }
    std::string text;
    int code = measurements.externalize(text);
    return py::make_tuple(code, text);
}

}  // namespace kopapy
