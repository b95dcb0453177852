#ifndef KOPA_BRIDGE_CONNECTION_H
#define KOPA_BRIDGE_CONNECTION_H

#include <glib.h>

#include <cstddef>
#include <deque>
#include <functional>
#include <string>

namespace bridge {

/// One peer on the default main context: a client's socket, or the pseudo-terminal's master.
/// Writes never block: lines wait in a backlog of bounded size, and when a slow reader lets it
/// overflow, the oldest whole lines are cut.
class Connection {
  public:
    /// Called with the input gathered so far; the handler removes what it has used.
    using InputHandler = std::function<void(Connection&, std::string& input)>;
    /// Called once when the peer has gone or the connection was closed.
    using CloseHandler = std::function<void(Connection&)>;

    Connection(int fd, std::size_t backlogBytes, InputHandler onInput, CloseHandler onClose);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Queues `line` and writes what the peer takes now.
    void send(const std::string& line);
    /// Stops reading; the connection closes once what is queued has been written (or at once
    /// if the peer takes nothing).
    void closeAfterSending();
    /// Closes now.
    void close();
    bool open() const { return fd_ >= 0; }
    /// Lines cut from the backlog so far.
    std::size_t linesCut() const { return linesCut_; }

  private:
    static gboolean onReadable(gint fd, GIOCondition condition, gpointer self);
    static gboolean onWritable(gint fd, GIOCondition condition, gpointer self);
    void flush();
    void stopSources();

    int fd_;
    std::size_t backlogBytes_;
    InputHandler onInput_;
    CloseHandler onClose_;
    guint readSource_ = 0;
    guint writeSource_ = 0;
    std::string input_;
    std::deque<std::string> backlog_;
    std::size_t queued_ = 0;
    std::size_t written_ = 0;  // of the front line
    std::size_t linesCut_ = 0;
    bool closing_ = false;
};

}  // namespace bridge

#endif
