// The system bus goes away under a program that has made a request. As long as the program
// only makes blocking requests, nothing dispatches the connection: it lives on, and every
// request fails with KOPA_ERROR_GENERAL, its cause saying the bus is gone. The first dispatch
// of the default main context ends it with status 1, libdbus's exit on disconnection; any
// other status is a failure of this test.
#include <KopaFailureCause.h>
#include <KopaPositioning.h>
#include <glib.h>

#include <cstdio>
#include <cstdlib>

namespace {

int request(KopaPositioning& positioning) {
    KopaPosition position;
    return positioning.currentPosition(position, 0, KOPA_PACKET_DATA_ALLOWED, 5);
}

}  // namespace

int main() {
    KopaPositioning positioning(nullptr);
    if (request(positioning) != KOPA_OK) {
        return 10;
    }
    // The bus's own pid, from the bus; dbus-daemon closes every connection as it ends.
    if (std::system("kill $(gdbus call --system -d org.freedesktop.DBus -o /org/freedesktop/DBus "
                    "-m org.freedesktop.DBus.GetConnectionUnixProcessID org.freedesktop.DBus "
                    "| sed -E 's/.* ([0-9]+),.*/\\1/')") != 0) {
        return 11;
    }
    int tries = 0;
    while (request(positioning) == KOPA_OK && ++tries < 500) {
        g_usleep(10000);
    }
    for (int later = 0; later < 3; ++later) {
        if (request(positioning) != KOPA_ERROR_GENERAL ||
            kopaLastFailureCause().kind != KOPA_FAILURE_NO_BUS) {
            return 12;
        }
    }
    std::puts("blocking requests fail with the bus gone; now dispatching");
    // Should the dispatch not end the process, the test's time-out does.
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 13;
}
