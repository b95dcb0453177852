#include "Options.h"

#include <glib.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

namespace bridge {
namespace {

// A whole number from `low` to `high`; GOption's own would take "-1", "12abc" or overflow.
bool parseNumber(const char* option, const std::string& digits, unsigned long long low,
                 unsigned long long high, unsigned long long& value, std::string& error) {
    errno = 0;
    bool ok = !digits.empty() && digits.size() <= 19 &&
              digits.find_first_not_of("0123456789") == std::string::npos;
    value = ok ? std::strtoull(digits.c_str(), nullptr, 10) : 0;
    if (!ok || errno != 0 || value < low || value > high) {
        error = std::string("--") + option + " wants a number from " + std::to_string(low) +
                " to " + std::to_string(high) + ", not '" + digits + "'";
        return false;
    }
    return true;
}

}  // namespace

bool parseOptions(int argc, char** argv, Options& options, std::string& error) {
    gchar* listen = nullptr;
    gchar* nmeaListen = nullptr;
    gchar* pty = nullptr;
    gchar* interval = nullptr;
    gchar* timeout = nullptr;
    gchar* maxClients = nullptr;
    gchar* maxRequest = nullptr;
    gchar* backlog = nullptr;
    gchar* readyFd = nullptr;
    gboolean version = FALSE;
    GOptionEntry entries[] = {
        {"listen", 'l', 0, G_OPTION_ARG_STRING, &listen, "gpsd's port (default 127.0.0.1:2947)",
         "HOST:PORT"},
        {"nmea-listen", 'n', 0, G_OPTION_ARG_STRING, &nmeaListen,
         "A port that sends NMEA 0183 to every client (default: none)", "HOST:PORT"},
        {"pty", 'p', 0, G_OPTION_ARG_STRING, &pty,
         "A pseudo-terminal carrying NMEA 0183, reached through this link", "PATH"},
        {"interval", 'i', 0, G_OPTION_ARG_STRING, &interval,
         "Milliseconds between positions (default 1000)", "MS"},
        {"timeout", 't', 0, G_OPTION_ARG_STRING, &timeout,
         "Milliseconds to wait for each position (default 10000)", "MS"},
        {"max-clients", 0, 0, G_OPTION_ARG_STRING, &maxClients,
         "Clients connected at once, both ports (default 32)", "N"},
        {"max-request-bytes", 0, 0, G_OPTION_ARG_STRING, &maxRequest,
         "Bytes of one request (default 1024)", "N"},
        {"backlog-bytes", 0, 0, G_OPTION_ARG_STRING, &backlog,
         "Bytes waiting for a slow client before the oldest are cut (default 65536)", "N"},
        {"ready-fd", 0, 0, G_OPTION_ARG_STRING, &readyFd,
         "Write \"ready GPSD_PORT NMEA_PORT\" to this descriptor once listening", "FD"},
        {"version", 'V', 0, G_OPTION_ARG_NONE, &version, "Print the version and exit", nullptr},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
    };
    GOptionContext* context = g_option_context_new("- positions of kopad for gpsd's clients");
    g_option_context_add_main_entries(context, entries, nullptr);
    GError* failure = nullptr;
    bool ok = g_option_context_parse(context, &argc, &argv, &failure);
    g_option_context_free(context);
    if (!ok) {
        error = failure->message;
        g_error_free(failure);
    } else if (argc > 1) {
        error = std::string("unexpected argument '") + argv[1] + "'";
        ok = false;
    }
    BridgeOptions& bridge = options.bridge;
    if (ok && listen != nullptr) {
        bridge.listen = listen;
    }
    if (ok && nmeaListen != nullptr) {
        bridge.nmeaListen = nmeaListen;
    }
    if (ok && pty != nullptr) {
        bridge.ptyLink = pty;
    }
    // Each number option given, read and checked; the first bad one ends the reading.
    auto number = [&](const char* option, const gchar* text, unsigned long long low,
                      unsigned long long high, auto apply) {
        unsigned long long value = 0;
        if (ok && text != nullptr && (ok = parseNumber(option, text, low, high, value, error))) {
            apply(value);
        }
    };
    using std::chrono::milliseconds;
    number("interval", interval, 1, 86400000, [&](auto v) { bridge.interval = milliseconds(v); });
    number("timeout", timeout, 1, 86400000, [&](auto v) { bridge.timeout = milliseconds(v); });
    number("max-clients", maxClients, 1, 10000, [&](auto v) { bridge.maxClients = v; });
    number("max-request-bytes", maxRequest, 16, 1 << 20,
           [&](auto v) { bridge.maxRequestBytes = v; });
    number("backlog-bytes", backlog, 1024, 1 << 30, [&](auto v) { bridge.backlogBytes = v; });
    number("ready-fd", readyFd, 0, 1 << 20, [&](auto v) { options.readyFd = static_cast<int>(v); });
    std::string address;
    int port = 0;
    for (const std::string* given : {&bridge.listen, &bridge.nmeaListen}) {
        if (ok && !given->empty() && !splitAddress(*given, address, port)) {
            error = "'" + *given + "' is not HOST:PORT";
            ok = false;
        }
    }
    options.version = version;
    for (gchar* text :
         {listen, nmeaListen, pty, interval, timeout, maxClients, maxRequest, backlog, readyFd}) {
        g_free(text);
    }
    return ok;
}

}  // namespace bridge
