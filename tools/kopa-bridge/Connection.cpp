#include "Connection.h"

#include <glib-unix.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace bridge {

Connection::Connection(int fd, std::size_t backlogBytes, InputHandler onInput, CloseHandler onClose)
    : fd_(fd),
      backlogBytes_(backlogBytes),
      onInput_(std::move(onInput)),
      onClose_(std::move(onClose)) {
    readSource_ = g_unix_fd_add(fd_, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
                                &Connection::onReadable, this);
}

Connection::~Connection() {
    stopSources();
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

void Connection::stopSources() {
    if (readSource_ != 0) {
        g_source_remove(readSource_);
        readSource_ = 0;
    }
    if (writeSource_ != 0) {
        g_source_remove(writeSource_);
        writeSource_ = 0;
    }
}

void Connection::send(const std::string& line) {
    if (fd_ < 0 || closing_ || line.empty()) {
        return;
    }
    backlog_.push_back(line);
    queued_ += line.size();
    // Cut the oldest lines the peer has not started on; a line half written stays, or the
    // peer would read the start of one line joined to another.
    std::size_t first = written_ > 0 ? 1 : 0;
    while (queued_ > backlogBytes_ && backlog_.size() > first + 1) {
        queued_ -= backlog_[first].size();
        backlog_.erase(backlog_.begin() + static_cast<std::ptrdiff_t>(first));
        ++linesCut_;
    }
    flush();
}

void Connection::flush() {
    while (fd_ >= 0 && !backlog_.empty()) {
        const std::string& front = backlog_.front();
        ssize_t n = ::write(fd_, front.data() + written_, front.size() - written_);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno == EAGAIN || errno == EWOULDBLOCK) {
                if (closing_) {
                    close();  // a peer that takes nothing gets no more time
                } else if (writeSource_ == 0) {
                    writeSource_ = g_unix_fd_add(fd_, G_IO_OUT, &Connection::onWritable, this);
                }
                return;
            }
            close();
            return;
        }
        written_ += static_cast<std::size_t>(n);
        if (written_ == front.size()) {
            queued_ -= front.size();
            backlog_.pop_front();
            written_ = 0;
        }
    }
    if (writeSource_ != 0) {
        g_source_remove(writeSource_);
        writeSource_ = 0;
    }
    if (closing_) {
        close();
    }
}

void Connection::closeAfterSending() {
    closing_ = true;
    if (readSource_ != 0) {
        g_source_remove(readSource_);
        readSource_ = 0;
    }
    flush();
}

void Connection::close() {
    if (fd_ < 0) {
        return;
    }
    stopSources();
    ::close(fd_);
    fd_ = -1;
    backlog_.clear();
    queued_ = 0;
    written_ = 0;
    onClose_(*this);
}

gboolean Connection::onReadable(gint fd, GIOCondition, gpointer data) {
    auto* self = static_cast<Connection*>(data);
    char buffer[4096];
    ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) {
        return G_SOURCE_CONTINUE;
    }
    if (n <= 0) {
        // The source is ours to end: close() must not remove it again.
        self->readSource_ = 0;
        self->close();
        return G_SOURCE_REMOVE;
    }
    self->input_.append(buffer, static_cast<std::size_t>(n));
    self->onInput_(*self, self->input_);
    return self->readSource_ != 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean Connection::onWritable(gint, GIOCondition, gpointer data) {
    auto* self = static_cast<Connection*>(data);
    self->flush();
    return self->writeSource_ != 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

}  // namespace bridge
