#include "NmeaSentences.h"

#include <glib.h>

#include <cmath>
#include <cstdint>
#include <cstdio>

namespace bridge {
namespace {

constexpr double kKnotsPerMetrePerSecond = 3600.0 / 1852.0;

// ddmm.mmmmm or dddmm.mmmmm and its hemisphere. Rounded in whole 1e-5 minutes first, so that
// 59.999996 minutes become the next degree rather than "60.00000".
std::string angle(double degrees, int degreeDigits, char positive, char negative) {
    auto units = static_cast<std::int64_t>(std::llround(std::fabs(degrees) * 60.0 * 1e5));
    char text[32];
    std::snprintf(text, sizeof text, "%0*lld%02lld.%05lld,%c", degreeDigits,
                  static_cast<long long>(units / 6000000),
                  static_cast<long long>(units % 6000000 / 100000),
                  static_cast<long long>(units % 100000), degrees < 0 ? negative : positive);
    return text;
}

std::string number(double value, int decimals) {
    char text[48];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// hhmmss.ss and ddmmyy of `ms`, UTC.
void clock(std::int64_t ms, std::string& time, std::string& date) {
    std::int64_t seconds = ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
    auto centis = static_cast<int>((ms - seconds * 1000) / 10);
    GDateTime* when = g_date_time_new_from_unix_utc(seconds);
    if (when == nullptr) {
        time.clear();
        date.clear();
        return;
    }
    char text[16];
    std::snprintf(text, sizeof text, "%02d%02d%02d.%02d", g_date_time_get_hour(when),
                  g_date_time_get_minute(when), g_date_time_get_second(when), centis);
    time = text;
    std::snprintf(text, sizeof text, "%02d%02d%02d", g_date_time_get_day_of_month(when),
                  g_date_time_get_month(when), g_date_time_get_year(when) % 100);
    date = text;
    g_date_time_unref(when);
}

}  // namespace

std::string nmeaSentence(const std::string& body) {
    unsigned char sum = 0;
    for (char c : body) {
        sum ^= static_cast<unsigned char>(c);
    }
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
    return "$" + body + tail;
}

std::string nmeaSentences(const Fix& fix) {
    std::string time, date;
    clock(fix.timeMs, time, date);
    if (fix.state != Fix::State::Fix) {
        return nmeaSentence("GPGGA," + time + ",,,,,0,,,,M,,M,,") +
               nmeaSentence("GPRMC," + time + ",V,,,,,,," + date + ",,,N");
    }
    std::string latitude = angle(fix.latitude, 2, 'N', 'S');
    std::string longitude = angle(fix.longitude, 3, 'E', 'W');
    // Heights are the ellipsoid's with a geoid separation of 0: the service names no geoid.
    std::string altitude = fix.altitude ? number(*fix.altitude, 1) + ",M,0.0,M" : ",M,,M";
    std::string gga =
        "GPGGA," + time + "," + latitude + "," + longitude + ",1,,," + altitude + ",,";
    std::string speed = fix.speed ? number(*fix.speed * kKnotsPerMetrePerSecond, 2) : "";
    std::string track = fix.track ? number(*fix.track, 1) : "";
    std::string rmc = "GPRMC," + time + ",A," + latitude + "," + longitude + "," + speed + "," +
                      track + "," + date + ",,,A";
    return nmeaSentence(gga) + nmeaSentence(rmc);
}

}  // namespace bridge
