#ifndef KOPA_POSITION_H
#define KOPA_POSITION_H

#include <cstdint>
#include <string>

#include "KopaDatatypesExport.h"
#include "KopaTextResult.h"

/// How a position fix was produced.
enum class KopaPositionMethod : int {
    Unknown = 0,
    Gnss = 1,    ///< satellite navigation
    Cell = 2,    ///< cellular network
    Wlan = 3,    ///< WLAN access points
    Hybrid = 4,  ///< a combination of the above
};

/// A position fix: latitude and longitude in WGS-84, with optional altitude, accuracies,
/// time, speed, heading and the method that produced it.
///
/// Optional fields know whether they are set (`hasAltitude()`, ...); setting one marks it set,
/// `clearAltitude()` and friends unset it. A default-constructed position lies at 0, 0 with
/// every optional field unset.
///
/// The record travels as one line of text: `externalize` writes it, `internalize` reads it back
/// into an equal record. `internalize` leaves the record unchanged when the text is malformed
/// and returns a KopaTextResult code. The format is described in text-format.md, installed in
/// share/doc/libkopapositioning/ under the library's prefix (compressed, text-format.md.gz, in
/// /usr/share/doc/libkopapositioning/ from the packages).
class KOPA_DATATYPES_API KopaPosition {
  public:
    /// The class type of a position.
    static constexpr unsigned int kClassType = 1;
    /// The version of the text format this record writes.
    static constexpr unsigned int kFormatVersion = 1;

    /// A position at 0, 0 with every optional field unset, method unknown.
    KopaPosition();
    /// Destroys the record.
    virtual ~KopaPosition();
    /// A copy of `other`, class type and version included.
    KopaPosition(const KopaPosition&) = default;
    /// Copies every field, class type and version included.
    KopaPosition& operator=(const KopaPosition&) = default;

    /// The record's class type: 1 for a position, 2 for a location info.
    unsigned int type() const { return classType_; }
    /// The version of the record's text format.
    unsigned int version() const { return version_; }

    /// Reads the record from `text`; 0, or a KopaTextResult code and the record unchanged.
    virtual int internalize(const std::string& text);
    /// Writes the record as text; 0, or a KopaTextResult code.
    virtual int externalize(std::string& text) const;

    /// Degrees north (WGS-84), negative south.
    double latitude() const { return latitude_; }
    /// Sets the latitude, in degrees.
    void setLatitude(double degrees) { latitude_ = degrees; }
    /// Degrees east (WGS-84), negative west.
    double longitude() const { return longitude_; }
    /// Sets the longitude, in degrees.
    void setLongitude(double degrees) { longitude_ = degrees; }

    /// Metres above the WGS-84 ellipsoid.
    bool hasAltitude() const { return hasAltitude_; }
    /// The altitude in metres, when hasAltitude().
    double altitude() const { return altitude_; }
    /// Sets the altitude and marks it set.
    void setAltitude(double metres);
    /// Marks the altitude unset.
    void clearAltitude() { hasAltitude_ = false; }

    /// Radius of the horizontal uncertainty, in metres.
    bool hasHorizontalAccuracy() const { return hasHorizontalAccuracy_; }
    /// The horizontal accuracy in metres, when hasHorizontalAccuracy().
    double horizontalAccuracy() const { return horizontalAccuracy_; }
    /// Sets the horizontal accuracy and marks it set.
    void setHorizontalAccuracy(double metres);
    /// Marks the horizontal accuracy unset.
    void clearHorizontalAccuracy() { hasHorizontalAccuracy_ = false; }

    /// Vertical uncertainty, in metres.
    bool hasVerticalAccuracy() const { return hasVerticalAccuracy_; }
    /// The vertical accuracy in metres, when hasVerticalAccuracy().
    double verticalAccuracy() const { return verticalAccuracy_; }
    /// Sets the vertical accuracy and marks it set.
    void setVerticalAccuracy(double metres);
    /// Marks the vertical accuracy unset.
    void clearVerticalAccuracy() { hasVerticalAccuracy_ = false; }

    /// Milliseconds since the epoch, UTC.
    bool hasTimestamp() const { return hasTimestamp_; }
    /// The time of the position, when hasTimestamp().
    std::int64_t timestamp() const { return timestamp_; }
    /// Sets the timestamp and marks it set.
    void setTimestamp(std::int64_t millisecondsSinceEpoch);
    /// Marks the timestamp unset.
    void clearTimestamp() { hasTimestamp_ = false; }

    /// Ground speed in metres per second.
    bool hasSpeed() const { return hasSpeed_; }
    /// The speed in metres per second, when hasSpeed().
    double speed() const { return speed_; }
    /// Sets the speed and marks it set.
    void setSpeed(double metresPerSecond);
    /// Marks the speed unset.
    void clearSpeed() { hasSpeed_ = false; }

    /// Direction of travel in degrees clockwise from true north.
    bool hasHeading() const { return hasHeading_; }
    /// The heading in degrees, when hasHeading().
    double heading() const { return heading_; }
    /// Sets the heading and marks it set.
    void setHeading(double degrees);
    /// Marks the heading unset.
    void clearHeading() { hasHeading_ = false; }

    /// How the position was found.
    KopaPositionMethod method() const { return method_; }
    /// Sets how the position was found.
    void setMethod(KopaPositionMethod method) { method_ = method; }

    /// Field-by-field equality of the position fields (class type and version included).
    bool operator==(const KopaPosition& other) const;
    /// Not operator==.
    bool operator!=(const KopaPosition& other) const { return !(*this == other); }

  protected:
    /// Lets a derived record (or a test) set its own class type and format version.
    KopaPosition(unsigned int classType, unsigned int version);

  private:
    unsigned int classType_;
    unsigned int version_;
    double latitude_ = 0.0;
    double longitude_ = 0.0;
    double altitude_ = 0.0;
    double horizontalAccuracy_ = 0.0;
    double verticalAccuracy_ = 0.0;
    std::int64_t timestamp_ = 0;
    double speed_ = 0.0;
    double heading_ = 0.0;
    KopaPositionMethod method_ = KopaPositionMethod::Unknown;
    bool hasAltitude_ = false;
    bool hasHorizontalAccuracy_ = false;
    bool hasVerticalAccuracy_ = false;
    bool hasTimestamp_ = false;
    bool hasSpeed_ = false;
    bool hasHeading_ = false;
};

#endif
