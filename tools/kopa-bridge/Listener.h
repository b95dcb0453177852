#ifndef KOPA_BRIDGE_LISTENER_H
#define KOPA_BRIDGE_LISTENER_H

#include <glib.h>

#include <functional>
#include <string>

namespace bridge {

/// A TCP port listening on the default main context; each accepted socket, non-blocking, goes
/// to the handler, which owns it from then on.
class Listener {
  public:
    using AcceptHandler = std::function<void(int fd)>;

    Listener() = default;
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Listens on `address` ("HOST:PORT", "[V6]:PORT"; port 0 picks a free one). False with
    /// `error` set when it cannot.
    bool listen(const std::string& address, AcceptHandler onAccept, std::string& error);
    /// The port listened on.
    int port() const { return port_; }

  private:
    static gboolean onIncoming(gint fd, GIOCondition condition, gpointer self);

    int fd_ = -1;
    int port_ = 0;
    guint source_ = 0;
    AcceptHandler onAccept_;
};

/// Splits "HOST:PORT" or "[V6]:PORT"; false when it is neither or the port is not 0 to 65535.
bool splitAddress(const std::string& address, std::string& host, int& port);

}  // namespace bridge

#endif
