// kopa::Client in a program without a GLib loop of its own: a blocking request with a
// time-out, then three positions from a subscription.
// Build: g++ -std=c++17 client_position.cpp $(pkg-config --cflags --libs kopaclient)
#include <KopaClient.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>

int main() {
    kopa::MainLoopThread loop;  // delivers the callbacks on a thread of its own
    kopa::Client client;

    kopa::RequestOptions options;
    options.timeout = std::chrono::milliseconds(1500);
    kopa::Result<KopaPosition> first = client.currentPosition(options);
    if (!first) {
        std::fprintf(stderr, "%s\n", first.error().describe().c_str());
        return 1;
    }
    std::printf("%.6f %.6f\n", first.value().latitude(), first.value().longitude());

    std::mutex mutex;
    std::condition_variable changed;
    int received = 0;
    kopa::SubscriptionOptions every;
    every.interval = std::chrono::milliseconds(100);
    kopa::Subscription updates = client.subscribe(every, [&](const kopa::Result<KopaPosition>& r) {
        if (r) {
            std::printf("%.6f %.6f\n", r.value().latitude(), r.value().longitude());
        } else {
            std::fprintf(stderr, "%s\n", r.error().describe().c_str());
        }
        std::lock_guard<std::mutex> lock(mutex);
        ++received;
        changed.notify_one();
    });
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return received >= 3; });
    return 0;  // `updates` ends the subscription, then `client` and `loop` go
}
