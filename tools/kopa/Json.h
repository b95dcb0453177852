#ifndef KOPA_TOOL_JSON_H
#define KOPA_TOOL_JSON_H

#include <cstdint>
#include <string>

/// Builds one JSON object, member by member, in the order they are added.
class JsonObject {
  public:
    JsonObject& add(const std::string& key, const std::string& value);
    JsonObject& add(const std::string& key, const char* value);
    JsonObject& add(const std::string& key, double value);
    JsonObject& add(const std::string& key, std::int64_t value);
    JsonObject& add(const std::string& key, std::uint64_t value);
    JsonObject& add(const std::string& key, int value) {
        return add(key, static_cast<std::int64_t>(value));
    }
    JsonObject& add(const std::string& key, unsigned int value) {
        return add(key, static_cast<std::uint64_t>(value));
    }
    JsonObject& addNull(const std::string& key);
    /// `json` must already be a JSON value (an object or an array).
    JsonObject& addRaw(const std::string& key, const std::string& json);

    std::string str() const { return body_ + "}"; }

  private:
    void key(const std::string& name);
    std::string body_ = "{";
};

/// `text` as a JSON string, quotes included.
std::string jsonString(const std::string& text);

#endif
