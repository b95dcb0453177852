// Threads that construct KopaPositioning objects while others trace: with the trace file
// named the same all along, the constructions must not write the name that the trace lines
// read (ThreadSanitizer proves it).
#include <KopaLog.h>
#include <KopaPositioning.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

TEST(TraceNameThreadsTest, ConstructionsWithTheSameTraceFileLeaveTheNameAlone) {
    char pattern[] = "/tmp/kopa-trace-name.XXXXXX";
    int fd = mkstemp(pattern);
    ASSERT_GE(fd, 0);
    close(fd);
    setenv("KOPAAPI_TRACEFILE", pattern, 1);
    { KopaPositioning first(nullptr); }

    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([] {
            for (int i = 0; i < 50; ++i) {
                KopaPositioning positioning(nullptr);
                positioning.setAccessKey(static_cast<unsigned int>(i));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(KopaLog::sKopaLogFileName, pattern);
    unsetenv("KOPAAPI_TRACEFILE");
    KopaLog::sKopaLogFileName.clear();
    unlink(pattern);
}
