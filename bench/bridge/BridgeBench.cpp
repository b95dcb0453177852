// kopa-bridge-bench BRIDGE [SECONDS]: positions per second that kopa-bridge fans out to 1, 10
// and 100 watching clients, and the bridge's CPU time per position per client, beside two
// baselines in this process, without the bridge: the same subscription by raw libdbus, and
// through kopa::Client alone. Run against kopa-bench-service, which answers at once (make
// bench-bridge), with the shortest interval, so that the figures are the most the bridge can pass
// on. Prints; asserts nothing.
#include <KopaClient.h>
#include <dbus/dbus.h>
#include <glib.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "../BenchSupport.h"
#include "../Requests.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds(Clock::duration d) {
    return std::chrono::duration<double>(d).count();
}

double ownCpu() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// User and system time of process `pid`, from /proc.
double processCpu(pid_t pid) {
    std::string path = "/proc/" + std::to_string(pid) + "/stat";
    FILE* file = std::fopen(path.c_str(), "r");
    char text[1024] = {};
    if (file == nullptr || std::fgets(text, sizeof text, file) == nullptr) {
        if (file != nullptr) {
            std::fclose(file);
        }
        return 0;
    }
    std::fclose(file);
    // Fields 14 and 15 come after the command name's closing parenthesis.
    const char* rest = std::strrchr(text, ')');
    unsigned long utime = 0, stime = 0;
    std::sscanf(rest + 2, "%*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %lu %lu", &utime, &stime);
    return static_cast<double>(utime + stime) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void baseline(double duration) {
    kopa::ApplicationLoop declared;
    kopa::Client client;
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    kopa::SubscriptionOptions options;
    options.interval = std::chrono::milliseconds(1);
    long positions = 0;
    double cpu = ownCpu();
    Clock::time_point start = Clock::now();
    kopa::Subscription subscription = client.subscribe(
        options, [&](const kopa::Result<KopaPosition>& answer) { positions += answer.ok(); });
    g_timeout_add(
        static_cast<guint>(duration * 1000),
        [](gpointer l) {
            g_main_loop_quit(static_cast<GMainLoop*>(l));
            return G_SOURCE_REMOVE;
        },
        loop);
    g_main_loop_run(loop);
    subscription.cancel();
    double wall = seconds(Clock::now() - start);
    cpu = ownCpu() - cpu;
    g_main_loop_unref(loop);
    std::printf("%-34s %10.0f %18.1f\n", "kopa::Client alone (baseline)", positions / wall,
                positions > 0 ? cpu / positions * 1e6 : 0.0);
}

// The same subscription without the library: raw libdbus, one currentPosition call answered
// and read into a record, the next 1 ms later.
void rawLibdbusBaseline(double duration) {
    DBusConnection* bus = bench::openRawConnection(false);
    DBusError error;
    dbus_error_init(&error);
    bench::Records records;
    long positions = 0;
    double cpu = ownCpu();
    Clock::time_point start = Clock::now();
    Clock::time_point end = start + std::chrono::milliseconds(static_cast<long>(duration * 1000));
    while (Clock::now() < end) {
        DBusMessage* call = bench::newRawCall(bench::Request::CurrentPosition, records);
        DBusMessage* reply = dbus_connection_send_with_reply_and_block(bus, call, 10000, &error);
        dbus_message_unref(call);
        const char* text = nullptr;
        if (reply != nullptr &&
            dbus_message_get_args(reply, &error, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
            bench::readAnswer(bench::Request::CurrentPosition, text, records)) {
            ++positions;
        }
        dbus_error_free(&error);
        if (reply != nullptr) {
            dbus_message_unref(reply);
        }
        g_usleep(1000);
    }
    double wall = seconds(Clock::now() - start);
    cpu = ownCpu() - cpu;
    dbus_connection_close(bus);
    dbus_connection_unref(bus);
    std::printf("%-34s %10.0f %18.1f\n", "raw libdbus (baseline)", positions / wall,
                positions > 0 ? cpu / positions * 1e6 : 0.0);
}

int connectTo(int port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        std::perror("kopa-bridge-bench: connect");
        std::exit(1);
    }
    const char watch[] = "?WATCH={\"enable\":true,\"json\":true};\n";
    if (write(fd, watch, sizeof watch - 1) < 0) {
        std::exit(1);
    }
    return fd;
}

void fanOut(const char* bridge, int clients, double duration) {
    int ready[2];
    if (pipe(ready) != 0) {
        std::exit(1);
    }
    pid_t pid = fork();
    if (pid == 0) {
        close(ready[0]);
        std::string fd = std::to_string(ready[1]);
        execl(bridge, bridge, "--listen", "127.0.0.1:0", "--interval", "1", "--max-clients", "200",
              "--ready-fd", fd.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ready[1]);
    char line[64] = {};
    int port = 0;
    if (read(ready[0], line, sizeof line - 1) <= 0 || std::sscanf(line, "ready %d", &port) != 1) {
        std::fprintf(stderr, "kopa-bridge-bench: %s did not start\n", bridge);
        std::exit(1);
    }
    close(ready[0]);
    std::vector<pollfd> fds;
    for (int i = 0; i < clients; ++i) {
        fds.push_back({connectTo(port), POLLIN, 0});
    }
    // Counting starts once every client watches: what came before (the answers to the connection
    // and the WATCH, and the reports of a fan-out still growing) is read and dropped, so that
    // the count holds only TPV reports sent within the measured time.
    char buffer[65536];
    usleep(200000);
    for (const pollfd& client : fds) {
        while (recv(client.fd, buffer, sizeof buffer, MSG_DONTWAIT) > 0) {
        }
    }
    std::vector<long> lines(clients, 0);
    double cpu = processCpu(pid);
    Clock::time_point start = Clock::now();
    Clock::time_point end = start + std::chrono::milliseconds(static_cast<long>(duration * 1000));
    while (Clock::now() < end) {
        if (poll(fds.data(), fds.size(), 100) <= 0) {
            continue;
        }
        for (int i = 0; i < clients; ++i) {
            if (fds[i].revents & POLLIN) {
                ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
                for (ssize_t j = 0; j < n; ++j) {
                    lines[i] += buffer[j] == '\n';
                }
            }
        }
    }
    double wall = seconds(Clock::now() - start);
    cpu = processCpu(pid) - cpu;
    long total = 0;
    for (int i = 0; i < clients; ++i) {
        total += lines[i];
        close(fds[i].fd);
    }
    kill(pid, SIGTERM);
    waitpid(pid, nullptr, 0);
    char name[64];
    std::snprintf(name, sizeof name, "kopa-bridge, %d client(s)", clients);
    std::printf("%-34s %10.0f %18.1f\n", name, total / static_cast<double>(clients) / wall,
                total > 0 ? cpu / total * 1e6 : 0.0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: kopa-bridge-bench BRIDGE [SECONDS]\n");
        return 2;
    }
    double duration = argc > 2 ? std::atof(argv[2]) : 3.0;
    std::printf("Positions fanned out by kopa-bridge, subscription interval 1 ms, %.0f s each\n",
                duration);
    std::printf("%-34s %10s %18s\n", "", "pos/s", "CPU us/pos/client");
    rawLibdbusBaseline(duration);
    baseline(duration);
    for (int clients : {1, 10, 100}) {
        fanOut(argv[1], clients, duration);
    }
    std::printf(
        "pos/s: positions each client received per second; CPU: the bridge's (for the\n"
        "baselines, this process's) user and system time per position per client.\n");
    return 0;
}
