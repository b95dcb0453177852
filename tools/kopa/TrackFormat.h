#ifndef KOPA_TOOL_TRACK_FORMAT_H
#define KOPA_TOOL_TRACK_FORMAT_H

#include <cstdint>
#include <memory>
#include <string>

#include <KopaPosition.h>

#include "IsoTime.h"

/// The text of a track document, piece by piece: its opening, one piece per point, and the
/// closing that makes what has been written so far a complete document.
class TrackFormat {
  public:
    virtual ~TrackFormat() = default;

    /// The document up to its first point; `startMs` is when the recording started.
    virtual std::string opening(std::int64_t startMs) = 0;
    /// One point: `position` as the service answered, at `timeMs` (ms since the epoch, UTC).
    /// `afterGap`: requests failed since the point before, so the line may be broken there.
    virtual std::string point(const KopaPosition& position, std::int64_t timeMs, bool afterGap) = 0;
    /// What ends the document after the points so far. `last`: it ends the recording; a
    /// format may then add what it keeps until the end.
    virtual std::string closing(bool last) = 0;
};

/// The format named by `kopa record --format`: "gpx" or "geojson".
std::unique_ptr<TrackFormat> makeTrackFormat(const std::string& name);

/// `value` in plain decimal notation (no exponent), with the fewest digits that read back as
/// the same double.
std::string decimal(double value);

#endif
