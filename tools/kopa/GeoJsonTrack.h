#ifndef KOPA_TOOL_GEOJSON_TRACK_H
#define KOPA_TOOL_GEOJSON_TRACK_H

#include <array>

#include "TrackFormat.h"

/// A GeoJSON Feature whose geometry is one LineString: each point a position [lon, lat] or,
/// with an altitude, [lon, lat, ele]. The end of the recording adds, in the properties'
/// "coordinateProperties", one array per field with an entry per point (null where the
/// position has none): times (ISO 8601, UTC), speed, course, accuracy, verticalAccuracy and
/// method, as in GpxTrack. Until then the properties hold only the creator and the start, so
/// that the document on disk stays small to rewrite after every point.
class GeoJsonTrack : public TrackFormat {
  public:
    std::string opening(std::int64_t startMs) override;
    std::string point(const KopaPosition& position, std::int64_t timeMs, bool afterGap) override;
    std::string closing(bool last) override;

  private:
    static constexpr const char* kFields[] = {
        "times", "speed", "course", "accuracy", "verticalAccuracy", "method"};
    std::string properties_;
    std::array<std::string, std::size(kFields)> perPoint_;
    bool empty_ = true;
};

#endif
