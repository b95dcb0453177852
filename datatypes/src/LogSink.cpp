#include "LogSink.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

namespace kopa_log {

LogSink& LogSink::instance() {
    static LogSink* sink = new LogSink;  // deliberately never deleted, see the header
    return *sink;
}

void LogSink::reopen(const std::string& fileName) noexcept {
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
    fileName_.clear();
    try {
        fileName_ = fileName;
    } catch (...) {
        return;  // no memory for the name: try again with the next line
    }
    do {
        fd_ = open(fileName.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    } while (fd_ < 0 && errno == EINTR);
}

void LogSink::write(const std::string& fileName, const std::string& line) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    // A file that could not be opened is tried again with the next line, so tracing starts
    // once the file becomes writable.
    if (fd_ < 0 || fileName != fileName_) {
        reopen(fileName);
    }
    if (fd_ < 0) {
        return;
    }
    // One write() per line: with O_APPEND the line lands whole at the end of the file, also
    // between the lines of other processes tracing into the same file.
    ssize_t written = 0;
    do {
        written = ::write(fd_, line.data(), line.size());
    } while (written < 0 && errno == EINTR);
}

}  // namespace kopa_log
