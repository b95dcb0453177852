// Calls exit() while the main-loop thread is inside requestCompleted. Usage: PROGRAM MODE TRACE
//   main             the main thread exits
//   other-thread     the main thread waits in cancel() for that delivery, a third thread exits
//   observer         the main thread waits in cancel(), the observer itself exits
// Unless the observer exits, it returns only once exit() flushes the stdio streams, which comes
// after every exit-time destructor: the rest of the delivery, trace lines included, runs on
// what exit() has left. The process must end with exit()'s status 0 before the watchdog ends
// it, and touch nothing freed (valgrind, AddressSanitizer). TRACE is the trace file: a long
// name, kept on the heap.
#include <KopaPositioning.h>
#include <glib.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

// What the threads use once exit() has begun has no exit-time destructor: it serves until the
// process has ended.
const char* mode = "";
const char* tracePath = "";
GMainLoop* loop = nullptr;
std::atomic<int> completions{0};
std::atomic<bool> streamsFlushing{false};
std::atomic<bool> loopEnded{false};

bool is(const char* name) {
    return std::strcmp(mode, name) == 0;
}

template <typename Condition>
void waitUntil(Condition condition) {
    while (!condition()) {
        usleep(10000);
    }
}

// Traced under the registry's lock right before a cancel waits for the delivery.
bool cancelWaits() {
    std::ifstream trace(tracePath);
    std::string text{std::istreambuf_iterator<char>(trace), std::istreambuf_iterator<char>()};
    return text.find("PendingStates::cancelPending() PendingEntry @") != std::string::npos;
}

ssize_t atStreamFlush(void*, const char*, size_t size) {
    streamsFlushing = true;
    if (!is("observer")) {
        waitUntil([] { return loopEnded.load(); });
    }
    if (completions != 1) {
        _exit(3);
    }
    return static_cast<ssize_t>(size);
}

class StallingObserver : public KopaObserver {
  public:
    void requestCompleted(int, KopaRequestType) override {
        ++completions;
        if (is("observer")) {
            waitUntil(cancelWaits);
            std::exit(0);
        }
        g_main_loop_quit(loop);
        waitUntil([] { return streamsFlushing.load(); });
    }
};

StallingObserver observer;
KopaPosition position;  // filled before the observer is called

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    mode = argv[1];
    tracePath = argv[2];
    std::thread([] {
        sleep(100);
        _exit(4);  // exit() hangs
    }).detach();
    std::ofstream(tracePath, std::ios::trunc).close();
    setenv("KOPAAPI_TRACEFILE", tracePath, 1);

    // A stream with a byte in its buffer, written out when exit() flushes the streams.
    cookie_io_functions_t io{};
    io.write = atStreamFlush;
    FILE* stream = fopencookie(nullptr, "w", io);
    setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
    fputc('.', stream);

    loop = g_main_loop_new(nullptr, FALSE);
    auto* positioning = new KopaPositioning(&observer);
    if (positioning->currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 10) != KOPA_OK) {
        return 2;
    }
    std::thread([] {
        g_main_loop_run(loop);
        loopEnded = true;
    }).detach();
    waitUntil([] { return completions > 0; });
    if (is("main")) {
        std::exit(0);
    }
    if (is("other-thread")) {
        std::thread([] {
            waitUntil(cancelWaits);
            std::exit(0);
        }).detach();
    }
    positioning->cancel();
    for (;;) {
        pause();
    }
}
