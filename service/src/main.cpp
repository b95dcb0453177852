// kopad-sim: a stand-in for the positioning service kopad, for tests, demos and development
// without a device. See docs/kopad-sim.md.
#include <gio/gio.h>
#include <glib-unix.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "EventLog.h"
#include "Options.h"
#include "Scenario.h"
#include "SimService.h"

namespace {

struct Run {
    GMainLoop* loop;
    std::string stopReason;
};

bool buildScenario(const Options& options, Scenario& scenario) {
    std::string why;
    if (!options.scenario.empty()) {
        std::ifstream file(options.scenario);
        if (!file) {
            std::fprintf(stderr, "kopad-sim: cannot read %s\n", options.scenario.c_str());
            return false;
        }
        std::stringstream text;
        text << file.rdbuf();
        ScenarioContext context;
        gchar* directory = g_path_get_dirname(options.scenario.c_str());
        context.directory = directory;
        g_free(directory);
        context.track = options.trackSettings;
        if (!parseScenario(text.str(), scenario, why, context)) {
            std::fprintf(stderr, "kopad-sim: %s: %s\n", options.scenario.c_str(), why.c_str());
            return false;
        }
    }
    if (!options.position.empty() && !parsePositionOption(options.position, scenario, why)) {
        std::fprintf(stderr, "kopad-sim: %s\n", why.c_str());
        return false;
    }
    if (!options.track.empty()) {
        scenario.track = readGpxFile(options.track, options.trackSettings, why);
        if (!scenario.track) {
            std::fprintf(stderr, "kopad-sim: --track: %s\n", why.c_str());
            return false;
        }
        scenario.trackSource = options.track;
    }
    for (const std::string& option : options.outcomes) {
        std::size_t equals = option.find('=');
        if (equals == std::string::npos || !addDefaultOutcome(scenario, option.substr(0, equals),
                                                              option.substr(equals + 1), why)) {
            std::fprintf(stderr, "kopad-sim: --outcome %s: %s\n", option.c_str(),
                         equals == std::string::npos ? "needs MEMBER=OUTCOME" : why.c_str());
            return false;
        }
    }
    return true;
}

GDBusConnection* connect(const Options& options, std::string& address) {
    GError* error = nullptr;
    address = options.address;
    if (address.empty()) {
        // Honours DBUS_SYSTEM_BUS_ADDRESS, else names the system bus's own socket.
        gchar* system = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
        if (system == nullptr) {
            std::fprintf(stderr, "kopad-sim: no system bus: %s\n", error->message);
            g_error_free(error);
            return nullptr;
        }
        address = system;
        g_free(system);
    }
    GDBusConnection* connection = g_dbus_connection_new_for_address_sync(
        address.c_str(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (connection == nullptr) {
        std::fprintf(stderr, "kopad-sim: cannot connect to %s: %s\n", address.c_str(),
                     error->message);
        g_error_free(error);
    }
    return connection;
}

bool ownName(GDBusConnection* connection) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", kServiceName, 4u /* DO_NOT_QUEUE */),
        G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, -1, nullptr, &error);
    if (reply == nullptr) {
        std::fprintf(stderr, "kopad-sim: cannot own %s: %s\n", kServiceName, error->message);
        g_error_free(error);
        return false;
    }
    guint32 result = 0;
    g_variant_get(reply, "(u)", &result);
    g_variant_unref(reply);
    if (result != 1 /* PRIMARY_OWNER */) {
        std::fprintf(stderr, "kopad-sim: %s is already owned on this bus\n", kServiceName);
        return false;
    }
    return true;
}

void tellReady(int fd) {
    if (fd < 0) {
        return;
    }
    const char ready[] = "ready\n";
    ssize_t written = write(fd, ready, sizeof ready - 1);
    (void)written;  // a starter that stopped listening is no reason to stop serving
    close(fd);
}

gboolean onSignal(gpointer data, const char* name) {
    auto* run = static_cast<Run*>(data);
    run->stopReason = name;
    g_main_loop_quit(run->loop);
    return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    int exitCode = 0;
    if (!parseOptions(argc, argv, options, exitCode)) {
        return exitCode;
    }
    Scenario scenario = Scenario::builtIn();
    if (!buildScenario(options, scenario)) {
        return 2;
    }
    EventLog log;
    log.setQuiet(options.quiet);
    if (!options.logFile.empty() && !log.open(options.logFile)) {
        std::fprintf(stderr, "kopad-sim: cannot open %s: %s\n", options.logFile.c_str(),
                     std::strerror(errno));
        return 2;
    }

    std::string address;
    GDBusConnection* connection = connect(options, address);
    if (connection == nullptr) {
        return 1;
    }
    // A lost bus ends the main loop below rather than the process, so that the service still
    // says goodbye in its log.
    g_dbus_connection_set_exit_on_close(connection, FALSE);

    Run run{g_main_loop_new(nullptr, FALSE), ""};
    int status = 0;
    {
        SimService service(connection, scenario, log, options.trackSettings);
        std::string why;
        if (!service.start(why)) {
            std::fprintf(stderr, "kopad-sim: %s\n", why.c_str());
            status = 1;
        } else if (!ownName(connection)) {
            status = 1;
        } else {
            gulong closed = g_signal_connect(
                connection, "closed",
                G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer data) {
                    auto* r = static_cast<Run*>(data);
                    r->stopReason = "bus closed";
                    g_main_loop_quit(r->loop);
                }),
                &run);
            guint sigint = g_unix_signal_add(
                SIGINT, [](gpointer data) { return onSignal(data, "SIGINT"); }, &run);
            guint sigterm = g_unix_signal_add(
                SIGTERM, [](gpointer data) { return onSignal(data, "SIGTERM"); }, &run);

            log.write(
                JsonLine("start")
                    .add("pid", static_cast<long long>(getpid()))
                    .add("bus", address)
                    .add("name", kServiceName)
                    .add("scenario", options.scenario.empty() ? "built-in" : options.scenario));
            service.startTrack();
            tellReady(options.readyFd);
            g_main_loop_run(run.loop);

            g_source_remove(sigint);
            g_source_remove(sigterm);
            g_signal_handler_disconnect(connection, closed);
            if (run.stopReason == "bus closed") {
                status = 1;
            }
            log.write(JsonLine("stop").add("reason", run.stopReason));
        }
        service.stop();
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        // Cancel signals that the filter handed over before the close still point at the
        // service: let them run while it exists.
        while (g_main_context_iteration(nullptr, FALSE)) {
        }
    }
    g_object_unref(connection);
    g_main_loop_unref(run.loop);
    return status;
}
