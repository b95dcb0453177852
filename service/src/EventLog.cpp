#include "EventLog.h"

#include <glib.h>

namespace {

std::string nowText() {
    GDateTime* now = g_date_time_new_now_utc();
    gchar* text = g_date_time_format(now, "%Y-%m-%dT%H:%M:%S");
    char millis[8];
    g_snprintf(millis, sizeof millis, ".%03dZ", g_date_time_get_microsecond(now) / 1000);
    std::string result = std::string(text) + millis;
    g_free(text);
    g_date_time_unref(now);
    return result;
}

}  // namespace

std::string jsonQuote(const std::string& text) {
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    g_snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

JsonLine::JsonLine(const std::string& event) {
    text_ = "{\"time\":" + jsonQuote(nowText()) + ",\"event\":" + jsonQuote(event);
}

void JsonLine::key(const std::string& name) {
    text_ += "," + jsonQuote(name) + ":";
}

JsonLine& JsonLine::add(const std::string& name, const std::string& value) {
    key(name);
    text_ += jsonQuote(value);
    return *this;
}

JsonLine& JsonLine::add(const std::string& name, long long value) {
    key(name);
    text_ += std::to_string(value);
    return *this;
}

JsonLine& JsonLine::add(const std::string& name, unsigned long long value) {
    key(name);
    text_ += std::to_string(value);
    return *this;
}

JsonLine& JsonLine::add(const std::string& name, bool value) {
    key(name);
    text_ += value ? "true" : "false";
    return *this;
}

JsonLine& JsonLine::add(const std::string& name, const std::vector<std::uint32_t>& values) {
    key(name);
    text_ += "[";
    for (std::size_t i = 0; i < values.size(); ++i) {
        text_ += (i ? "," : "") + std::to_string(values[i]);
    }
    text_ += "]";
    return *this;
}

EventLog::~EventLog() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool EventLog::open(const std::string& path) {
    file_ = std::fopen(path.c_str(), "a");
    return file_ != nullptr;
}

void EventLog::write(const JsonLine& line) {
    std::string text = line.text() + "\n";
    // Flushed line by line, so that a reader following the log sees each event at once.
    if (!quiet_) {
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
    }
    if (file_ != nullptr) {
        std::fputs(text.c_str(), file_);
        std::fflush(file_);
    }
}
