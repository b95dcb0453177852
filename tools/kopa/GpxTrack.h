#ifndef KOPA_TOOL_GPX_TRACK_H
#define KOPA_TOOL_GPX_TRACK_H

#include "TrackFormat.h"

/// The namespace of the point fields GPX 1.1 has no element for: speed (m/s), course (degrees
/// clockwise from true north), accuracy and verticalAccuracy (metres), method (gnss, cell, wlan,
/// hybrid or unknown).
#define KOPA_GPX_EXTENSION_NAMESPACE "urn:kopa:track:1"

/// A GPX 1.1 document with one track: each point a trkpt with lat, lon, ele when the position
/// has an altitude, time, and the other fields the position has in KOPA_GPX_EXTENSION_NAMESPACE.
/// Points after failed requests start a new segment, as GPX asks for a lost fix.
class GpxTrack : public TrackFormat {
  public:
    std::string opening(std::int64_t startMs) override;
    std::string point(const KopaPosition& position, std::int64_t timeMs, bool afterGap) override;
    std::string closing(bool last) override;

  private:
    bool empty_ = true;
};

#endif
