#include "Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

std::string jsonString(const std::string& text) {
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
            case '\t':
                out += "\\t";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                if (c < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                    out += escaped;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

void JsonObject::key(const std::string& name) {
    if (body_.size() > 1) {
        body_ += ',';
    }
    body_ += jsonString(name);
    body_ += ':';
}

JsonObject& JsonObject::add(const std::string& name, const std::string& value) {
    key(name);
    body_ += jsonString(value);
    return *this;
}

JsonObject& JsonObject::add(const std::string& name, const char* value) {
    return add(name, std::string(value));
}

JsonObject& JsonObject::add(const std::string& name, double value) {
    if (!std::isfinite(value)) {
        return addNull(name);
    }
    // The shortest text that reads back to the same double, as the records write it.
    char buffer[32];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    key(name);
    body_.append(buffer, error == std::errc() ? end : buffer);
    return *this;
}

JsonObject& JsonObject::add(const std::string& name, std::int64_t value) {
    key(name);
    body_ += std::to_string(value);
    return *this;
}

JsonObject& JsonObject::add(const std::string& name, std::uint64_t value) {
    key(name);
    body_ += std::to_string(value);
    return *this;
}

JsonObject& JsonObject::addNull(const std::string& name) {
    key(name);
    body_ += "null";
    return *this;
}

JsonObject& JsonObject::addRaw(const std::string& name, const std::string& json) {
    key(name);
    body_ += json;
    return *this;
}
