#ifndef KOPA_LOG_SINK_H
#define KOPA_LOG_SINK_H

#include <mutex>
#include <string>

namespace kopa_log {

/// The one trace file of the process. Every KopaLog hands its finished line here, so lines of
/// concurrent threads reach the file whole and in one piece each.
class LogSink {
  public:
    /// The process's sink. It is created on first use and never destroyed, so that lines
    /// written by exit-time destructors of other libraries still arrive.
    static LogSink& instance();

    /// Appends `line` to the file `fileName`, opening it first (again) when the name has
    /// changed since the last line. A file that cannot be opened, or cannot take the line
    /// without waiting, is skipped; a pipe without reader raises no SIGPIPE. Never throws.
    void write(const std::string& fileName, const std::string& line) noexcept;

  private:
    LogSink() = default;
    void reopen(const std::string& fileName) noexcept;
    // False when the line met a pipe without reader (EPIPE).
    bool writeLine(const std::string& line) noexcept;

    std::mutex mutex_;
    int fd_ = -1;
    std::string fileName_;
    bool canRaiseSigpipe_ = false;  // anything but a regular file: pipes, FIFOs, sockets
};

}  // namespace kopa_log

#endif
