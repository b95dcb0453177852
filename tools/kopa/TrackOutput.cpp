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
    file_ = ownsFile_ ? std::fopen(path.c_str(), "w") : stdout;
    if (file_ == nullptr) {
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    }
    struct stat status {};
    int flags = fcntl(fileno(file_), F_GETFL);
    rewritable_ = fstat(fileno(file_), &status) == 0 && S_ISREG(status.st_mode) && flags != -1 &&
                  (flags & O_APPEND) == 0;
    if (rewritable_) {
        documentEnd_ = ftello(file_);
        rewritable_ = documentEnd_ != -1;
    }
}

TrackOutput::~TrackOutput() {
    if (ownsFile_ && file_ != nullptr) {
        std::fclose(file_);
    }
}

bool TrackOutput::append(const std::string& text, const std::string& closing) {
    if (file_ == nullptr) {
        return false;
    }
    if (rewritable_ && fseeko(file_, documentEnd_, SEEK_SET) != 0) {
        return fail();
    }
    if (!write(text)) {
        return false;
    }
    if (rewritable_) {
        documentEnd_ = ftello(file_);
        if (documentEnd_ == -1 || !write(closing)) {
            return fail();
        }
    }
    return std::fflush(file_) == 0 || fail();
}

bool TrackOutput::finish(const std::string& closing) {
    if (file_ == nullptr) {
        return false;
    }
    if (rewritable_ && fseeko(file_, documentEnd_, SEEK_SET) != 0) {
        return fail();
    }
    if (!write(closing) || std::fflush(file_) != 0) {
        return fail();
    }
    // A closing written before may have been longer than this one.
    if (rewritable_ && ftruncate(fileno(file_), ftello(file_)) != 0) {
        return fail();
    }
    FILE* file = file_;
    file_ = nullptr;
    if (ownsFile_ && std::fclose(file) != 0) {
        error_ = std::strerror(errno);
        return false;
    }
    return true;
}

bool TrackOutput::write(const std::string& text) {
    return std::fwrite(text.data(), 1, text.size(), file_) == text.size() || fail();
}

bool TrackOutput::fail() {
    if (error_.empty()) {
        error_ = std::strerror(errno != 0 ? errno : EIO);
    }
    return false;
}
