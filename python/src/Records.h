#ifndef KOPA_PYTHON_RECORDS_H
#define KOPA_PYTHON_RECORDS_H

#include <pybind11/pybind11.h>

#include <string>

#include "KopaClient.h"

namespace kopapy {

/// The records as the plain tuples the Python package turns into its value classes.
/// A position: (latitude, longitude, altitude, horizontal accuracy, vertical accuracy,
/// timestamp in ms, speed, heading, method), None for what is unset.
pybind11::tuple positionTuple(const KopaPosition& position);
/// Measurements: (text, cells, access points); a cell is (radio, mcc, mnc, area, cell id,
/// dBm, timing advance or None), an access point (bssid, dBm).
pybind11::tuple measurementsTuple(const KopaMeasurements& measurements);
/// A failure: (code, name, message, cause kind, cause's D-Bus error name, cause's message).
pybind11::tuple failureTuple(const kopa::Error& error);

/// (value, None) for a result that holds a record, (None, failure) for a failure.
pybind11::tuple outcome(const kopa::Result<KopaPosition>& result);
pybind11::tuple outcome(const kopa::Result<KopaMeasurements>& result);

/// Reads a measurements text; the failure is the text's own result code (positive).
kopa::Result<KopaMeasurements> readMeasurements(const std::string& text);
/// The text of measurements given as the tuples of measurementsTuple: (code, text).
pybind11::tuple writeMeasurements(const pybind11::iterable& cells,
                                  const pybind11::iterable& accessPoints);

}  // namespace kopapy

#endif
