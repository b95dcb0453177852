// Trace files that are not plain files (a FIFO, a pipe that is full or has lost its reader)
// must never block, stop or kill the program that traces, and a new trace file is private to
// its owner, since it holds the user's positions.
#include <KopaLog.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <sstream>
#include <string>

namespace {

std::atomic<int> sigpipeCount{0};

void countSigpipe(int) {
    sigpipeCount.fetch_add(1);
}

void traceLines(int count) {
    for (int i = 0; i < count; ++i) {
        KopaLog().write(5) << "a line of trace text that is long enough to fill a pipe soon";
    }
}

// Runs `lines` trace lines on another thread; true when they finish within a few seconds.
// Otherwise `unblock` frees the writer (so the test can end) and the answer is false.
bool tracesWithoutWaiting(int lines, const std::function<void()>& unblock) {
    auto done = std::async(std::launch::async, [lines] { traceLines(lines); });
    if (done.wait_for(std::chrono::seconds(5)) == std::future_status::ready) {
        return true;
    }
    unblock();
    done.wait();
    return false;
}

class TraceFileKindsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kopa-trace-kinds.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        KopaLog::sKopaLogFileName.clear();
        unlink((dir_ + "/trace").c_str());
        rmdir(dir_.c_str());
    }
    std::string path() const { return dir_ + "/trace"; }

    std::string dir_;
};

TEST_F(TraceFileKindsTest, AFifoWithoutReaderNeitherBlocksNorStopsTracing) {
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    KopaLog::sKopaLogFileName = path();
    int rescuer = -1;  // a reader lets a blocked open return
    EXPECT_TRUE(tracesWithoutWaiting(
        3, [this, &rescuer] { rescuer = open(path().c_str(), O_RDONLY | O_NONBLOCK); }));

    // A reader that comes later gets the lines written from then on.
    int reader = open(path().c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    traceLines(1);
    char buffer[256];
    EXPECT_GT(read(reader, buffer, sizeof buffer), 0);
    close(reader);
    if (rescuer >= 0) {
        close(rescuer);
    }
}

TEST_F(TraceFileKindsTest, APipeNobodyReadsDropsLinesInsteadOfWaiting) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[1], F_SETPIPE_SZ, 4096);
    KopaLog::sKopaLogFileName = "/proc/self/fd/" + std::to_string(ends[1]);
    EXPECT_TRUE(tracesWithoutWaiting(500, [&ends] {
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        char buffer[4096];
        // Drain until the writer is through.
        for (int idle = 0; idle < 50; ++idle) {
            if (read(ends[0], buffer, sizeof buffer) <= 0) {
                usleep(20000);
            } else {
                idle = 0;
            }
        }
    }));
    KopaLog::sKopaLogFileName.clear();
    traceLines(1);
    close(ends[0]);
    close(ends[1]);
}

// Everything the pipe holds now.
std::string drain(int reader) {
    std::string data;
    char buffer[4096];
    for (ssize_t got; (got = read(reader, buffer, sizeof buffer)) > 0;) {
        data.append(buffer, static_cast<std::size_t>(got));
    }
    return data;
}

TEST_F(TraceFileKindsTest, ALineThatOnlyPartlyFitsAPipeNeverRunsIntoTheNextOne) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    ASSERT_EQ(fcntl(ends[1], F_SETPIPE_SZ, 4096), 4096);
    const std::string filler(3000, 'f');
    ASSERT_EQ(write(ends[1], (filler + "\n").data(), filler.size() + 1), 3001);
    KopaLog::sKopaLogFileName = "/proc/self/fd/" + std::to_string(ends[1]);
    const std::string longText(5000, 'x');

    KopaLog().write(5) << longText;  // about a thousand bytes fit
    KopaLog().write(5) << "while full";
    std::string seen = drain(ends[0]);
    KopaLog().write(5) << "once drained";
    seen += drain(ends[0]);
    KopaLog().write(5) << "last";
    seen += drain(ends[0]);

    // Every line stands whole on its own: the filler, then some of the traced lines.
    std::istringstream lines(seen);
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, filler);
    std::string text;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string time, level, thread;
        fields >> time >> level >> thread;
        std::getline(fields, text);
        text.erase(0, 1);
        EXPECT_TRUE(text == longText || text == "while full" || text == "once drained" ||
                    text == "last")
            << line.substr(0, 80);
    }
    EXPECT_EQ(text, "last");
    EXPECT_EQ(seen.back(), '\n');
    close(ends[0]);
    close(ends[1]);
}

TEST_F(TraceFileKindsTest, APipeWhoseReaderIsGoneRaisesNoSigpipe) {
    struct sigaction counting {};
    counting.sa_handler = countSigpipe;
    struct sigaction previous {};
    ASSERT_EQ(sigaction(SIGPIPE, &counting, &previous), 0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    KopaLog::sKopaLogFileName = "/proc/self/fd/" + std::to_string(ends[1]);
    traceLines(1);  // opens the trace file while the pipe still has its reader
    close(ends[0]);

    traceLines(3);

    // Tracing went on with another file afterwards, and the application never saw a SIGPIPE.
    KopaLog::sKopaLogFileName = path();
    traceLines(1);
    EXPECT_EQ(sigpipeCount.load(), 0);
    close(ends[1]);
    sigaction(SIGPIPE, &previous, nullptr);
}

TEST_F(TraceFileKindsTest, ANewTraceFileIsReadableByItsOwnerOnly) {
    const mode_t previousMask = umask(0);
    KopaLog::sKopaLogFileName = path();
    traceLines(1);
    umask(previousMask);
    struct stat info {};
    ASSERT_EQ(stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

}  // namespace
