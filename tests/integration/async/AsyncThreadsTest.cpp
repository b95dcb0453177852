// Asynchronous requests from several threads while the test's thread runs the main loop.
#include <KopaPositioning.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "MainLoop.h"
#include "SimFixture.h"
#include "pending/PendingStates.h"

namespace {

// Waits, on a thread that does not run the main loop, for the observer's n-th completion.
bool awaitCompletions(const RecordingObserver& observer, std::size_t n) {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (observer.count() < n && std::chrono::steady_clock::now() < giveUp) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return observer.count() >= n;
}

// Starts `work` on `count` threads and runs the main loop here until they have all ended.
void runWithMainLoop(int count, const std::function<void(int)>& work) {
    std::atomic<int> running{count};
    std::vector<std::thread> threads;
    for (int t = 0; t < count; ++t) {
        threads.emplace_back([&, t] {
            work(t);
            --running;
            g_main_context_wakeup(nullptr);
        });
    }
    EXPECT_TRUE(iterateUntil([&] { return running == 0; }, std::chrono::seconds(90)));
    for (auto& thread : threads) {
        thread.join();
    }
}

}  // namespace

class AsyncThreads : public SimTest {};

TEST_F(AsyncThreads, EveryRequestSentFromAnotherThreadIsCompleted) {
    // The service answers at once, so replies are often dispatched on the main-loop thread
    // before the sending thread has registered its request. None may be lost: a lost one
    // would leave its owner refused as a duplicate for ever.
    constexpr int kThreads = 4;
    constexpr int kRequests = 50;
    std::atomic<int> lost{0};
    runWithMainLoop(kThreads, [&](int) {
        RecordingObserver observer;
        KopaPositioning positioning(&observer);
        KopaPosition position;
        for (int i = 0; i < kRequests; ++i) {
            // The observer hears of the previous completion while that request is still
            // registered, so a refusal right after it is expected; one that never ends is a
            // lost completion.
            int sent = KOPA_ERROR_REQUEST_PENDING;
            const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            while (sent == KOPA_ERROR_REQUEST_PENDING &&
                   std::chrono::steady_clock::now() < giveUp) {
                sent = positioning.currentPositionAsync(position, 0, KOPA_PACKET_DATA_ALLOWED, 10);
                std::this_thread::yield();
            }
            if (sent != KOPA_OK || !awaitCompletions(observer, i + 1)) {
                ADD_FAILURE() << "request " << i << ": sent " << sent << ", completions "
                              << observer.count();
                ++lost;
                return;
            }
        }
    });
    EXPECT_EQ(lost, 0);
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);
}

TEST_F(AsyncThreads, ManyObjectsIssuingCompletingTimingOutAndCancellingAtOnce) {
    std::vector<std::string> outcomes;
    for (int i = 0; i < 50; ++i) {
        outcomes.insert(outcomes.end(), {"reply", "delay 30 reply", "error 46", "noarg",
                                         "delay 80 reply", i % 10 == 0 ? "noreply" : "reply"});
    }
    for (const char* member :
         {"currentPosition", "currentMeasurements", "lastKnownPosition", "convertToPosition"}) {
        script(member, outcomes);
    }

    constexpr int kThreads = 4;
    constexpr int kObjectsPerThread = 4;
    constexpr int kSteps = 150;
    std::vector<std::unique_ptr<RecordingObserver>> observers;
    std::vector<std::unique_ptr<KopaPositioning>> objects;
    for (int i = 0; i < kThreads * kObjectsPerThread; ++i) {
        observers.push_back(std::make_unique<RecordingObserver>());
        objects.push_back(std::make_unique<KopaPositioning>(observers.back().get()));
    }
    // Records live as long as the objects: cancelled or not, nothing may write elsewhere.
    std::vector<KopaPosition> positions(objects.size() * 3);
    std::vector<KopaMeasurements> measurements(objects.size());
    const KopaMeasurements input;

    runWithMainLoop(kThreads, [&](int t) {
        std::mt19937 random(static_cast<unsigned>(t) + 1);
        for (int step = 0; step < kSteps; ++step) {
            const size_t index = t * kObjectsPerThread + random() % kObjectsPerThread;
            KopaPositioning& object = *objects[index];
            const int action = static_cast<int>(random() % 7);
            if (action == 0) {
                object.currentPositionAsync(positions[index * 3], 0, KOPA_PACKET_DATA_ALLOWED, 1);
            } else if (action == 1) {
                object.currentMeasurementsAsync(measurements[index], 0, 1);
            } else if (action == 2) {
                object.lastKnownPositionAsync(positions[index * 3 + 1], 0);
            } else if (action == 3) {
                object.convertToPositionAsync(positions[index * 3 + 2], input,
                                              KOPA_PACKET_DATA_ALLOWED, 1);
            } else if (action == 4) {
                object.cancel(static_cast<KopaRequestType>(1 + random() % 4));
            } else if (action == 5) {
                object.cancel();
            }
        }
        for (int i = 0; i < kObjectsPerThread; ++i) {
            objects[t * kObjectsPerThread + i]->cancel();
        }
    });
    EXPECT_EQ(pendingStatesP()->entryCount(), 0u);

    // No object is left refused: each can make and complete a new request.
    sim.reset();
    for (size_t i = 0; i < objects.size(); ++i) {
        std::size_t before = observers[i]->count();
        ASSERT_EQ(
            objects[i]->currentPositionAsync(positions[i * 3], 0, KOPA_PACKET_DATA_ALLOWED, 10),
            KOPA_OK)
            << "object " << i;
        ASSERT_TRUE(iterateUntil([&] { return observers[i]->count() > before; }));
    }
}
