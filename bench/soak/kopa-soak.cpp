// kopa-soak: one process issuing, completing, timing out and cancelling asynchronous requests
// against kopad-sim for a bounded number of requests, printing requests per second and
// resident memory at intervals. Run it through scripts/with-sim-bus (make soak does).
//
//   kopa-soak [--requests N] [--objects N] [--report-every N]
#include <KopaPositioning.h>
#include <glib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

struct Settings {
    long requests = 200000;
    int objects = 64;
    long reportEvery = 20000;
};

Settings parse(int argc, char** argv) {
    Settings settings;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--requests") == 0) {
            settings.requests = std::atol(argv[i + 1]);
        } else if (std::strcmp(argv[i], "--objects") == 0) {
            settings.objects = std::atoi(argv[i + 1]);
        } else if (std::strcmp(argv[i], "--report-every") == 0) {
            settings.reportEvery = std::atol(argv[i + 1]);
        }
    }
    return settings;
}

long residentKilobytes() {
    long pages = 0, resident = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) {
            resident = 0;
        }
        std::fclose(statm);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Scripts the service through its control interface with the gdbus command, so that this
// process holds no connection but the library's.
void scriptService() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (address == nullptr) {
        return;
    }
    std::string outcomes = "['reply', 'reply', 'delay 5 reply', 'error 46', 'reply', 'noarg'";
    for (int i = 0; i < 40; ++i) {
        outcomes += ", 'reply'";
    }
    outcomes += ", 'noreply']";  // one in 47 answers never comes: a time-out after 1 s
    for (const char* member :
         {"currentPosition", "currentMeasurements", "lastKnownPosition", "convertToPosition"}) {
        std::string command = std::string("gdbus call --address '") + address +
                              "' --dest com.ruvex.location.kopad --object-path "
                              "/com/ruvex/location/kopad --method "
                              "com.ruvex.location.kopad.Simulator.PushOutcomes " +
                              member + " \"" + outcomes + "\" >/dev/null";
        if (std::system(command.c_str()) != 0) {
            std::fprintf(stderr, "kopa-soak: could not script kopad-sim\n");
        }
    }
}

class Client : public KopaObserver {
  public:
    Client() : positioning(this) {}
    void requestCompleted(int result, KopaRequestType) override {
        ++completed;
        failed += result != KOPA_OK;
    }

    KopaPositioning positioning;
    KopaPosition positions[3];
    KopaMeasurements measurements;
    long completed = 0;
    long failed = 0;
};

struct Soak {
    Settings settings;
    std::vector<std::unique_ptr<Client>> clients;
    std::mt19937 random{42};
    KopaMeasurements input;
    long issued = 0;
    long refused = 0;
    long cancels = 0;
    long nextReport = 0;
    long baselineKb = 0;
    long peakKb = 0;
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point lastReport = start;
    long lastCompleted = 0;
    GMainLoop* loop = nullptr;

    long completed() const {
        long total = 0;
        for (const auto& client : clients) {
            total += client->completed;
        }
        return total;
    }

    void issueOne() {
        Client& client = *clients[random() % clients.size()];
        int sent = KOPA_OK;
        switch (random() % 10) {
            case 0:
            case 1:
            case 2:
                sent = client.positioning.currentPositionAsync(client.positions[0], 0,
                                                               KOPA_PACKET_DATA_ALLOWED, 1);
                break;
            case 3:
            case 4:
                sent = client.positioning.currentMeasurementsAsync(client.measurements, 0, 1);
                break;
            case 5:
                sent = client.positioning.lastKnownPositionAsync(client.positions[1], 0);
                break;
            case 6:
            case 7:
                sent = client.positioning.convertToPositionAsync(client.positions[2], input,
                                                                 KOPA_PACKET_DATA_ALLOWED, 1);
                break;
            case 8:
                client.positioning.cancel(static_cast<KopaRequestType>(1 + random() % 4));
                ++cancels;
                return;
            default:
                client.positioning.cancel();
                ++cancels;
                return;
        }
        ++issued;
        refused += sent != KOPA_OK;
    }

    void report(bool last) {
        const auto now = std::chrono::steady_clock::now();
        const double interval = std::chrono::duration<double>(now - lastReport).count();
        const double total = std::chrono::duration<double>(now - start).count();
        const long done = completed();
        const long rss = residentKilobytes();
        peakKb = std::max(peakKb, rss);
        if (baselineKb == 0) {
            baselineKb = rss;
        }
        std::printf(
            "%8.1f s  issued %8ld  completed %8ld  refused %7ld  cancels %7ld  "
            "%8.0f req/s  rss %6ld KiB%s\n",
            total, issued, done, refused, cancels, (done - lastCompleted) / interval, rss,
            last ? "  (end)" : "");
        std::fflush(stdout);
        lastReport = now;
        lastCompleted = done;
    }
};

gboolean step(gpointer data) {
    Soak& soak = *static_cast<Soak*>(data);
    // A burst per main-loop turn: completions are delivered between bursts.
    for (int i = 0; i < 32 && soak.issued < soak.settings.requests; ++i) {
        soak.issueOne();
    }
    if (soak.issued >= soak.nextReport) {
        soak.report(false);
        soak.nextReport += soak.settings.reportEvery;
    }
    if (soak.issued >= soak.settings.requests) {
        for (auto& client : soak.clients) {
            client->positioning.cancel();
        }
        soak.report(true);
        g_main_loop_quit(soak.loop);
        return G_SOURCE_REMOVE;
    }
    return G_SOURCE_CONTINUE;
}

}  // namespace

int main(int argc, char** argv) {
    Soak soak;
    soak.settings = parse(argc, argv);
    scriptService();
    for (int i = 0; i < soak.settings.objects; ++i) {
        soak.clients.push_back(std::make_unique<Client>());
    }
    soak.nextReport = soak.settings.reportEvery;
    soak.loop = g_main_loop_new(nullptr, FALSE);
    g_idle_add(step, &soak);
    std::printf("kopa-soak: %ld requests over %d objects\n", soak.settings.requests,
                soak.settings.objects);
    g_main_loop_run(soak.loop);
    g_main_loop_unref(soak.loop);
    std::printf("resident memory: first report %ld KiB, peak %ld KiB, end %ld KiB\n",
                soak.baselineKb, soak.peakKb, residentKilobytes());
    return 0;
}
