#include "Track.h"

#include <algorithm>
#include <cmath>

#include "RadioMap.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

double radians(double degrees) {
    return degrees * kPi / 180.0;
}
double degrees(double radians) {
    return radians * 180.0 / kPi;
}

// The point a fraction `f` of the way from `a` to `b` along the great circle.
void interpolate(const TrackPoint& a, const TrackPoint& b, double f, double& latitude,
                 double& longitude) {
    double lat1 = radians(a.latitude), lon1 = radians(a.longitude);
    double lat2 = radians(b.latitude), lon2 = radians(b.longitude);
    double x1 = std::cos(lat1) * std::cos(lon1), y1 = std::cos(lat1) * std::sin(lon1),
           z1 = std::sin(lat1);
    double x2 = std::cos(lat2) * std::cos(lon2), y2 = std::cos(lat2) * std::sin(lon2),
           z2 = std::sin(lat2);
    double angle = std::acos(std::clamp(x1 * x2 + y1 * y2 + z1 * z2, -1.0, 1.0));
    double wa = 1.0 - f, wb = f;
    // Spherical interpolation; for points too close for it to be stable, the straight line is
    // the same to well below a millimetre.
    if (angle > 1e-9) {
        wa = std::sin((1.0 - f) * angle) / std::sin(angle);
        wb = std::sin(f * angle) / std::sin(angle);
    }
    double x = wa * x1 + wb * x2, y = wa * y1 + wb * y2, z = wa * z1 + wb * z2;
    latitude = degrees(std::atan2(z, std::hypot(x, y)));
    longitude = degrees(std::atan2(y, x));
}

// The initial bearing from `a` to `b`: 0 north, 90 east.
double bearing(const TrackPoint& a, const TrackPoint& b) {
    double lat1 = radians(a.latitude), lat2 = radians(b.latitude);
    double dLon = radians(b.longitude - a.longitude);
    double y = std::sin(dLon) * std::cos(lat2);
    double x = std::cos(lat1) * std::sin(lat2) - std::sin(lat1) * std::cos(lat2) * std::cos(dLon);
    return std::fmod(degrees(std::atan2(y, x)) + 360.0, 360.0);
}

}  // namespace

KopaPosition Track::at(double elapsed, bool loop) const {
    double duration = this->duration();
    elapsed = std::max(0.0, elapsed);
    if (loop && duration > 0.0) {
        elapsed = std::fmod(elapsed, duration);
    }
    KopaPosition position;
    // The first point after `elapsed` (never the first point, whose time is 0); legs without
    // duration are passed at once.
    auto next = std::upper_bound(points_.begin(), points_.end(), elapsed,
                                 [](double t, const TrackPoint& p) { return t < p.time; });
    if (next == points_.end()) {
        const TrackPoint& last = points_.back();
        position.setLatitude(last.latitude);
        position.setLongitude(last.longitude);
        if (last.hasAltitude) {
            position.setAltitude(last.altitude);
        }
        position.setSpeed(0.0);
        return position;
    }
    const TrackPoint& a = *(next - 1);
    const TrackPoint& b = *next;
    double legTime = b.time - a.time;
    double f = (elapsed - a.time) / legTime;
    double latitude = 0.0, longitude = 0.0;
    interpolate(a, b, f, latitude, longitude);
    position.setLatitude(latitude);
    position.setLongitude(longitude);
    if (a.hasAltitude && b.hasAltitude) {
        position.setAltitude(a.altitude + f * (b.altitude - a.altitude));
    } else if (a.hasAltitude || b.hasAltitude) {
        position.setAltitude(a.hasAltitude ? a.altitude : b.altitude);
    }
    position.setSpeed(distanceMetres(a.latitude, a.longitude, b.latitude, b.longitude) / legTime);
    position.setHeading(bearing(a, b));
    return position;
}
