// Blocking requests from several threads at once share the one connection.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "SimFixture.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRequestsPerThread = 25;

int runRequests(KopaPositioning& positioning, int thread) {
    int failures = 0;
    for (int i = 0; i < kRequestsPerThread; ++i) {
        KopaPosition position;
        KopaMeasurements measurements;
        int result =
            (i + thread) % 2 == 0
                ? positioning.currentPosition(position, thread, KOPA_PACKET_DATA_ALLOWED, 10)
                : positioning.currentMeasurements(measurements, thread, 10);
        failures += result != KOPA_OK;
    }
    return failures;
}

}  // namespace

class BlockingThreads : public SimTest {};

TEST_F(BlockingThreads, ManyThreadsShareOneObject) {
    KopaPositioning positioning(nullptr);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] { failures += runRequests(positioning, t); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(sim.requests().size(), static_cast<size_t>(kThreads * kRequestsPerThread));
}

TEST_F(BlockingThreads, EachThreadWithItsOwnObject) {
    std::vector<std::unique_ptr<KopaPositioning>> objects;
    for (int t = 0; t < kThreads; ++t) {
        objects.push_back(std::make_unique<KopaPositioning>(nullptr));
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] { failures += runRequests(*objects[t], t); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(sim.requests().size(), static_cast<size_t>(kThreads * kRequestsPerThread));
}
