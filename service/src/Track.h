#ifndef KOPAD_SIM_TRACK_H
#define KOPAD_SIM_TRACK_H

#include <KopaPosition.h>

#include <memory>
#include <string>
#include <vector>

// How a recorded journey is replayed: the same for every track the simulator loads.
struct TrackSettings {
    double rate = 1.0;   // track seconds per wall-clock second
    bool loop = false;   // start again after the last point instead of holding it
    double speed = 1.4;  // m/s between points that carry no time (walking)
};

// One point of a journey, its time in seconds after the first point.
struct TrackPoint {
    double latitude = 0.0;
    double longitude = 0.0;
    bool hasAltitude = false;
    double altitude = 0.0;
    double time = 0.0;
};

// A journey in time order, read from GPX (TrackGpx.cpp).
class Track {
  public:
    explicit Track(std::vector<TrackPoint> points) : points_(std::move(points)) {}

    const std::vector<TrackPoint>& points() const { return points_; }
    double duration() const { return points_.back().time; }

    // Where the device is `elapsed` track seconds after the first point: on the great circle
    // between the two points around that moment, with the leg's speed and initial bearing.
    // After the last point it holds there with speed 0 and no heading, unless `loop` starts
    // the journey again. Method, timestamp and accuracy are the caller's.
    KopaPosition at(double elapsed, bool loop) const;

  private:
    std::vector<TrackPoint> points_;  // never empty
};

// Reads a GPX 1.1 document into a journey, or returns null. The journey is its track points (every
// segment of every track, in order); a document without them is replayed along its routes' points,
// else along its waypoints. A point without a time is reached at `settings.speed` from the one
// before it. On failure `why` names the line ("line 7: ...").
std::shared_ptr<const Track> parseGpx(const std::string& text, const TrackSettings& settings,
                                      std::string& why);
// The same for a file; `why` starts with its path.
std::shared_ptr<const Track> readGpxFile(const std::string& path, const TrackSettings& settings,
                                         std::string& why);

#endif
