#include "Options.h"

#include <glib.h>

#include <cstdio>

bool parseOptions(int argc, char** argv, Options& options, int& exitCode) {
    gchar* address = nullptr;
    gchar* scenario = nullptr;
    gchar* position = nullptr;
    gchar** outcomes = nullptr;
    gchar* logFile = nullptr;
    gboolean quiet = FALSE;
    gint readyFd = -1;
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
    g_free(address);
    g_free(scenario);
    g_free(position);
    g_strfreev(outcomes);
    g_free(logFile);
    return ok;
}
