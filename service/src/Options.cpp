#include "Options.h"

#include <glib.h>

#include <cmath>
#include <cstdio>

bool parseOptions(int argc, char** argv, Options& options, int& exitCode) {
    gchar* address = nullptr;
    gchar* scenario = nullptr;
    gchar* position = nullptr;
    gchar** outcomes = nullptr;
    gchar* logFile = nullptr;
    gboolean quiet = FALSE;
    gint readyFd = -1;
    gchar* track = nullptr;
    gdouble trackRate = options.trackSettings.rate;
    gboolean trackLoop = FALSE;
    gdouble trackSpeed = options.trackSettings.speed;
    const GOptionEntry entries[] = {
        {"address", 'a', 0, G_OPTION_ARG_STRING, &address,
         "Bus address (default: $DBUS_SYSTEM_BUS_ADDRESS, else the system bus)", "ADDR"},
        {"scenario", 's', 0, G_OPTION_ARG_FILENAME, &scenario, "Scenario file", "FILE"},
        {"position", 'p', 0, G_OPTION_ARG_STRING, &position, "The position the service reports",
         "LAT,LON[,ACCURACY]"},
        {"outcome", 'o', 0, G_OPTION_ARG_STRING_ARRAY, &outcomes,
         "Append a default outcome for MEMBER (* for all four); repeatable", "MEMBER=OUTCOME"},
        {"log", 'l', 0, G_OPTION_ARG_FILENAME, &logFile, "Append the JSON events to FILE", "FILE"},
        {"quiet", 'q', 0, G_OPTION_ARG_NONE, &quiet, "No JSON events on stdout", nullptr},
        {"ready-fd", 0, 0, G_OPTION_ARG_INT, &readyFd,
         "Write \"ready\" to file descriptor FD once the bus name is owned, then close it", "FD"},
        {"track", 0, 0, G_OPTION_ARG_FILENAME, &track,
         "Replay a recorded journey (GPX) instead of standing still", "FILE"},
        {"track-rate", 0, 0, G_OPTION_ARG_DOUBLE, &trackRate,
         "Replay FACTOR times faster than recorded (default 1)", "FACTOR"},
        {"track-loop", 0, 0, G_OPTION_ARG_NONE, &trackLoop,
         "Start the journey again after its last point", nullptr},
        {"track-speed", 0, 0, G_OPTION_ARG_DOUBLE, &trackSpeed,
         "Speed between points without times (default 1.4, walking)", "M/S"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr},
    };
    GOptionContext* context = g_option_context_new("- a simulated kopad positioning service");
    g_option_context_set_summary(
        context, "Serves com.ruvex.location.kopad on the bus; see docs/kopad-sim.md.");
    g_option_context_add_main_entries(context, entries, nullptr);
    GError* error = nullptr;
    bool ok = g_option_context_parse(context, &argc, &argv, &error);
    if (!ok) {
        std::fprintf(stderr, "kopad-sim: %s\n", error->message);
        g_error_free(error);
        exitCode = 2;
    } else if (argc > 1) {
        std::fprintf(stderr, "kopad-sim: unexpected argument \"%s\"\n", argv[1]);
        ok = false;
        exitCode = 2;
    } else if (!(trackRate > 0 && std::isfinite(trackRate)) ||
               !(trackSpeed > 0 && std::isfinite(trackSpeed))) {
        std::fprintf(stderr, "kopad-sim: --track-rate and --track-speed need a number above 0\n");
        ok = false;
        exitCode = 2;
    }
    g_option_context_free(context);

    options.address = address ? address : "";
    options.scenario = scenario ? scenario : "";
    options.position = position ? position : "";
    for (gchar** outcome = outcomes; outcome && *outcome; ++outcome) {
        options.outcomes.push_back(*outcome);
    }
    options.logFile = logFile ? logFile : "";
    options.quiet = quiet;
    options.readyFd = readyFd;
    options.track = track ? track : "";
    options.trackSettings.rate = trackRate;
    options.trackSettings.loop = trackLoop;
    options.trackSettings.speed = trackSpeed;
    g_free(track);
    g_free(address);
    g_free(scenario);
    g_free(position);
    g_strfreev(outcomes);
    g_free(logFile);
    return ok;
}
