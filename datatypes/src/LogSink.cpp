#include "LogSink.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <utility>

#include "KopaLog.h"

namespace kopa_log {

namespace {

// Keeps a write to a pipe without reader from raising SIGPIPE in the application: the signal
// is blocked in this thread for the duration of the write, and one that the write raised is
// taken off again before it is unblocked. A SIGPIPE that was pending already stays pending.
class SigpipeBlock {
  public:
    SigpipeBlock() {
        sigemptyset(&pipeOnly_);
        sigaddset(&pipeOnly_, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeOnly_, &previous_);
        sigset_t pending;
        sigpending(&pending);
        wasPending_ = sigismember(&pending, SIGPIPE) == 1;
    }
    ~SigpipeBlock() {
        if (raised_ && !wasPending_) {
            const timespec noWait{};
            while (sigtimedwait(&pipeOnly_, nullptr, &noWait) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }
    SigpipeBlock(const SigpipeBlock&) = delete;
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

    void noteRaised() { raised_ = true; }

  private:
    sigset_t pipeOnly_;
    sigset_t previous_;
    bool wasPending_ = false;
    bool raised_ = false;
};

}  // namespace

LogSink& LogSink::instance() {
    static LogSink* sink = new LogSink;  // deliberately never deleted, see the header
    return *sink;
}

template <typename Use>
auto LogSink::withFileName(Use use) {
    // Sequentially consistent: either keepFileName sees this reader, or the reader sees the
    // name kept.
    nameReaders_.fetch_add(1);
    struct Leave {
        std::atomic<int>& readers;
        ~Leave() { readers.fetch_sub(1); }
    } leave{nameReaders_};
    return use(nameKept_.load() ? keptName_ : KopaLog::sKopaLogFileName);
}

std::string LogSink::fileName() {
    return withFileName([](const std::string& name) { return name; });
}

bool LogSink::tracing() noexcept {
    return withFileName([](const std::string& name) { return !name.empty(); });
}

void LogSink::keepFileName() noexcept {
    try {
        keptName_ = KopaLog::sKopaLogFileName;
    } catch (...) {
        // No memory for the copy: tracing ends here.
    }
    nameKept_.store(true);
    // A reader copies a name at most: a short wait, and only at exit. Bounded all the same: in
    // a child of fork() the count may stand for a thread that was not copied.
    for (int tries = 0; tries < 100000 && nameReaders_.load() != 0; ++tries) {
        sched_yield();
    }
}

void LogSink::reopen(const std::string& fileName) noexcept {
    // Whatever the old file has not taken of a line is lost with it.
    unfinished_.clear();
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
    // O_NONBLOCK: a FIFO without reader fails at once (ENXIO) instead of blocking the open,
    // and a full pipe or a stopped terminal refuses a line instead of holding the program.
    // The trace holds the user's positions: a new file is the owner's alone.
    do {
        fd_ = open(fileName.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK, 0600);
    } while (fd_ < 0 && errno == EINTR);
    struct stat info {};
    canRaiseSigpipe_ = fd_ >= 0 && (fstat(fd_, &info) != 0 || !S_ISREG(info.st_mode));
}

void LogSink::write(const std::string& fileName, std::string line) noexcept {
    std::lock_guard<std::mutex> lock(mutex_);
    // A file that could not be opened is tried again with the next line, so tracing starts
    // once the file becomes writable (or a FIFO gets its reader).
    if (fd_ < 0 || fileName != fileName_) {
        reopen(fileName);
    }
    if (fd_ < 0) {
        return;
    }
    if (canRaiseSigpipe_) {
        SigpipeBlock block;
        if (!writeLine(std::move(line))) {
            block.noteRaised();
        }
    } else {
        writeLine(std::move(line));
    }
}

bool LogSink::writeLine(std::string line) noexcept {
    // A pipe or terminal that took only part of a line (the rest met EAGAIN) gets the rest
    // before anything else, so that every line starts on a line of its own; a line that
    // cannot start now is dropped whole. Tracing never waits.
    if (!unfinished_.empty()) {
        if (!writeFront(unfinished_)) {
            unfinished_.clear();
            return false;
        }
        if (!unfinished_.empty()) {
            return true;
        }
    }
    const std::size_t size = line.size();
    if (!writeFront(line)) {
        return false;  // the reader is gone: nothing to finish
    }
    if (line.size() < size) {
        unfinished_ = std::move(line);
    }
    return true;
}

bool LogSink::writeFront(std::string& text) noexcept {
    // As few write() calls as the file allows: with O_APPEND a line written at once lands whole
    // at the end of the file, also between the lines of other processes tracing into it.
    std::size_t done = 0;
    bool readerGone = false;
    while (done < text.size()) {
        ssize_t written = ::write(fd_, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            readerGone = written < 0 && errno == EPIPE;
            break;
        }
        done += static_cast<std::size_t>(written);
    }
    text.erase(0, done);
    return !readerGone;
}

}  // namespace kopa_log
