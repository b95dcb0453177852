#include "TrackOutput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

TrackOutput::TrackOutput(const std::string& path) {
    ownsFile_ = !path.empty() && path != "-";
    name_ = ownsFile_ ? path : "standard output";
    fd_ = ownsFile_ ? open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)
                    : STDOUT_FILENO;
    if (fd_ == -1) {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
    struct stat status {};
    int flags = fcntl(fd_, F_GETFL);
    rewritable_ = fstat(fd_, &status) == 0 && S_ISREG(status.st_mode) && flags != -1 &&
                  (flags & O_APPEND) == 0;
    if (rewritable_) {
        documentEnd_ = lseek(fd_, 0, SEEK_CUR);
        rewritable_ = documentEnd_ != -1;
    }
}

TrackOutput::~TrackOutput() {
    close();
}

bool TrackOutput::append(const std::string& text, const std::string& closing) {
    if (fd_ == -1) {
        return false;
    }
    if (!rewritable_) {
        return writeAll(text, -1);
    }
    if (!replaceClosing(text, closing)) {
        return false;
    }
    documentEnd_ += static_cast<off_t>(text.size());
    closing_ = closing;
    return true;
}

bool TrackOutput::finish(const std::string& closing) {
    if (fd_ == -1) {
        return false;
    }
    bool written = rewritable_ ? replaceClosing("", closing) : writeAll(closing, -1);
    return close() && written;
}

bool TrackOutput::close() {
    int fd = fd_;
    fd_ = -1;
    return !ownsFile_ || fd == -1 || ::close(fd) == 0 || fail(errno);
}

// One write of `text` and `closing` over the closing on disk. When it fails part-way, the file
// goes back to its old length and gets its old closing again: that rewrites only bytes the file
// held already, which neither a size limit nor a full disk refuses.
bool TrackOutput::replaceClosing(const std::string& text, const std::string& closing) {
    const off_t oldEnd = documentEnd_ + static_cast<off_t>(closing_.size());
    const off_t newEnd = documentEnd_ + static_cast<off_t>(text.size() + closing.size());
    if (writeAll(text + closing, documentEnd_)) {
        return newEnd >= oldEnd || ftruncate(fd_, newEnd) == 0 || fail(errno);
    }
    int error = errno;
    if (ftruncate(fd_, oldEnd) != 0 || !writeAll(closing_, documentEnd_)) {
        error_ +=
            " (and the document could not be restored: " + std::string(std::strerror(errno)) + ")";
    }
    errno = error;
    return false;
}

// All of `text` at offset `at` (-1: at the current offset), or false with errno set.
bool TrackOutput::writeAll(const std::string& text, off_t at) {
    std::size_t done = 0;
    while (done < text.size()) {
        ssize_t n = at < 0 ? write(fd_, text.data() + done, text.size() - done)
                           : pwrite(fd_, text.data() + done, text.size() - done,
                                    at + static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return fail(n < 0 ? errno : EIO);
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

bool TrackOutput::fail(int error) {
    if (error_.empty()) {
        error_ = std::strerror(error);
    }
    errno = error;
    return false;
}
