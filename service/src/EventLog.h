#ifndef KOPAD_SIM_EVENT_LOG_H
#define KOPAD_SIM_EVENT_LOG_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// One JSON object on one line: {"time":...,"event":...,...}.
class JsonLine {
  public:
    explicit JsonLine(const std::string& event);

    JsonLine& add(const std::string& key, const std::string& value);
    JsonLine& add(const std::string& key, const char* value) {
        return add(key, std::string(value));
    }
    JsonLine& add(const std::string& key, long long value);
    JsonLine& add(const std::string& key, unsigned long long value);
    JsonLine& add(const std::string& key, unsigned int value) {
        return add(key, static_cast<unsigned long long>(value));
    }
    JsonLine& add(const std::string& key, int value) {
        return add(key, static_cast<long long>(value));
    }
    JsonLine& add(const std::string& key, bool value);
    JsonLine& add(const std::string& key, const std::vector<std::uint32_t>& values);

    std::string text() const { return text_ + "}"; }

  private:
    void key(const std::string& name);
    std::string text_;
};

std::string jsonQuote(const std::string& text);

// Where the events go: stdout unless quiet, and the log file when one is named.
class EventLog {
  public:
    EventLog() = default;
    ~EventLog();
    EventLog(const EventLog&) = delete;
    EventLog& operator=(const EventLog&) = delete;

    // False (and errno set) when the file cannot be opened.
    bool open(const std::string& path);
    void setQuiet(bool quiet) { quiet_ = quiet; }
    void write(const JsonLine& line);

  private:
    bool quiet_ = false;
    std::FILE* file_ = nullptr;
};

#endif
