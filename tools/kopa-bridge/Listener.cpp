#include "Listener.h"

#include <glib-unix.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace bridge {

bool splitAddress(const std::string& address, std::string& host, int& port) {
    std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon == 0) {
        return false;
    }
    host = address.substr(0, colon);
    if (host.front() == '[') {
        if (host.size() < 3 || host.back() != ']') {
            return false;
        }
        host = host.substr(1, host.size() - 2);
    } else if (host.find(':') != std::string::npos) {
        return false;  // an IPv6 address needs its brackets
    }
    std::string digits = address.substr(colon + 1);
    if (digits.empty() || digits.size() > 5 ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    port = std::atoi(digits.c_str());
    return port <= 65535;
}

Listener::~Listener() {
    if (source_ != 0) {
        g_source_remove(source_);
    }
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

bool Listener::listen(const std::string& address, AcceptHandler onAccept, std::string& error) {
    std::string host;
    int port = 0;
    if (!splitAddress(address, host, port)) {
        error = "'" + address + "' is not HOST:PORT";
        return false;
    }
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    int status = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (status != 0) {
        error = "cannot resolve " + host + ": " + gai_strerror(status);
        return false;
    }
    int fd = ::socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    int yes = 1;
    bool ok = fd >= 0 && setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0 &&
              bind(fd, found->ai_addr, found->ai_addrlen) == 0 && ::listen(fd, 16) == 0;
    freeaddrinfo(found);
    if (!ok) {
        error = "cannot listen on " + address + ": " + std::strerror(errno);
        if (fd >= 0) {
            ::close(fd);
        }
        return false;
    }
    sockaddr_storage bound{};
    socklen_t length = sizeof bound;
    getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &length);
    port_ = ntohs(bound.ss_family == AF_INET6 ? reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port
                                              : reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
    fd_ = fd;
    onAccept_ = std::move(onAccept);
    source_ = g_unix_fd_add(fd_, G_IO_IN, &Listener::onIncoming, this);
    return true;
}

gboolean Listener::onIncoming(gint fd, GIOCondition, gpointer data) {
    auto* self = static_cast<Listener*>(data);
    // Everyone waiting now, so that a burst of connections costs one wake-up.
    for (;;) {
        int client = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (client < 0) {
            // EAGAIN: no more; anything else (a peer gone before its turn, out of descriptors)
            // is that one connection's failure, not the listener's.
            return G_SOURCE_CONTINUE;
        }
        self->onAccept_(client);
    }
}

}  // namespace bridge
