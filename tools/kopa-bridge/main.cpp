// kopa-bridge: positions of the positioning service for programs written for gpsd or for an
// NMEA 0183 receiver. See kopa-bridge(8).
#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

#include <exception>
#include <iostream>
#include <string>

#include "Bridge.h"
#include "KopaClient.h"
#include "Options.h"

namespace {

gboolean quit(gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

int run(const bridge::Options& options) {
    // This program runs the default main context itself, so the client's answers come here.
    kopa::ApplicationLoop applicationLoop;
    bridge::Bridge server(options.bridge);
    std::string error;
    if (!server.start(error)) {
        std::cerr << "kopa-bridge: " << error << std::endl;
        return 1;
    }
    if (options.readyFd >= 0) {
        std::string ready = "ready " + std::to_string(server.gpsdPort()) + " " +
                            std::to_string(server.nmeaPort()) + "\n";
        if (write(options.readyFd, ready.data(), ready.size()) < 0) {
            std::cerr << "kopa-bridge: cannot write to --ready-fd" << std::endl;
        }
        close(options.readyFd);
    }
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    guint stops[] = {g_unix_signal_add(SIGINT, &quit, loop),
                     g_unix_signal_add(SIGTERM, &quit, loop)};
    g_main_loop_run(loop);
    for (guint stop : stops) {
        g_source_remove(stop);
    }
    g_main_loop_unref(loop);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    // A client gone mid-write is that connection's error, not the end of the bridge.
    signal(SIGPIPE, SIG_IGN);
    bridge::Options options;
    std::string error;
    if (!bridge::parseOptions(argc, argv, options, error)) {
        std::cerr << "kopa-bridge: " << error << " (see --help)" << std::endl;
        return 2;
    }
    if (options.version) {
        std::cout << "kopa-bridge " KOPA_BRIDGE_VERSION << std::endl;
        return 0;
    }
    try {
        return run(options);
    } catch (const std::exception& failure) {
        std::cerr << "kopa-bridge: " << failure.what() << std::endl;
        return 1;
    }
}
