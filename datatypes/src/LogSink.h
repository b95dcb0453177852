#ifndef KOPA_LOG_SINK_H
#define KOPA_LOG_SINK_H

#include <atomic>
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

    /// The trace file's name: KopaLog::sKopaLogFileName, or, once exit() is about to destroy
    /// that, the copy kept then. May throw std::bad_alloc.
    std::string fileName();
    /// Whether a trace file is named; never throws.
    bool tracing() noexcept;
    /// Takes the copy of the name that tracing goes on with while exit() runs; called right
    /// before the name is destroyed.
    void keepFileName() noexcept;

    /// Appends `line` to the file `fileName`, opening it first (again) when the name has
    /// changed since the last line. A file that cannot be opened, or cannot take the line
    /// without waiting, is skipped; a line that it took in part is finished before the next
    /// one. A pipe without reader raises no SIGPIPE. Never throws.
    void write(const std::string& fileName, std::string line) noexcept;

  private:
    LogSink() = default;
    template <typename Use>
    auto withFileName(Use use);
    void reopen(const std::string& fileName) noexcept;
    // False when the line met a pipe without reader (EPIPE).
    bool writeLine(std::string line) noexcept;
    // Writes what the file takes now from the front of `text` and erases it from `text`;
    // false on EPIPE.
    bool writeFront(std::string& text) noexcept;

    std::mutex mutex_;
    int fd_ = -1;
    std::string fileName_;
    bool canRaiseSigpipe_ = false;  // anything but a regular file: pipes, FIFOs, sockets
    std::string unfinished_;        // the rest of a line that the file took only in part

    // Lines read the name without a lock; keepFileName waits until no reader is left.
    std::atomic<int> nameReaders_{0};
    std::atomic<bool> nameKept_{false};
    std::string keptName_;  // written once, before nameKept_ is set
};

}  // namespace kopa_log

#endif
