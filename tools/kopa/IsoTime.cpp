#include "IsoTime.h"

#include <glib.h>

std::string isoTime(std::int64_t milliseconds) {
    std::int64_t seconds = milliseconds / 1000;
    std::int64_t remainder = milliseconds % 1000;
    if (remainder < 0) {
        --seconds;
        remainder += 1000;
    }
    GDateTime* time = g_date_time_new_from_unix_utc(seconds);
    if (time == nullptr) {
        return "";
    }
    gchar* text = g_date_time_format(time, "%Y-%m-%dT%H:%M:%S");
    g_date_time_unref(time);
    char millis[8];
    g_snprintf(millis, sizeof millis, ".%03dZ", static_cast<int>(remainder));
    std::string result = std::string(text) + millis;
    g_free(text);
    return result;
}
