// Blocking requests from several threads at once share the one connection.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "SimFixture.h"

class BlockingThreads : public SimTest {};

TEST_F(BlockingThreads, ThreadsSharingAnObjectOrEachWithItsOwnGetEveryAnswer) {
    constexpr int kThreads = 4;
    constexpr int kRequests = 25;
    KopaPositioning shared(nullptr);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 2 * kThreads; ++t) {
        threads.emplace_back([&, t] {
            KopaPositioning own(nullptr);
            KopaPositioning& positioning = t < kThreads ? shared : own;
            for (int i = 0; i < kRequests; ++i) {
                KopaPosition position;
                KopaMeasurements measurements;
                failures +=
                    ((i + t) % 2 == 0
                         ? positioning.currentPosition(position, t, KOPA_PACKET_DATA_ALLOWED, 10)
                         : positioning.currentMeasurements(measurements, t, 10)) != KOPA_OK;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(sim.requests().size(), static_cast<size_t>(2 * kThreads * kRequests));
}
