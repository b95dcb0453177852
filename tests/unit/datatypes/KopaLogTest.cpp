#include <KopaLog.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

// A fresh directory per test, with the trace name put back afterwards.
class KopaLogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/kopa-log-test.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
        KopaLog::sKopaLogFileName.clear();
    }
    void TearDown() override {
        KopaLog::sKopaLogFileName.clear();
        for (const std::string& file : created_) {
            unlink(file.c_str());
        }
        rmdir(dir_.c_str());
    }

    std::string file(const std::string& name) {
        created_.push_back(dir_ + "/" + name);
        return created_.back();
    }

    static std::vector<std::string> linesOf(const std::string& path) {
        std::ifstream in(path);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    static std::string contentOf(const std::string& path) {
        std::ifstream in(path);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    std::string dir_;
    std::vector<std::string> created_;
};

const std::regex kPrefixedLine(
    R"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})\.(\d{3})Z L(-?\d+) T(\d+) (.*)$)");

}  // namespace

TEST_F(KopaLogTest, WritesOneLineWithTimeLevelThreadAndText) {
    const std::string path = file("trace");
    KopaLog::sKopaLogFileName = path;
    KopaLog().write(5) << "KopaFwClient::initKopaFwClient() <-" << ' ' << 42 << ' '
                       << static_cast<unsigned long>(7);
    KopaLog().write(2) << "second";

    const std::string content = contentOf(path);
    ASSERT_FALSE(content.empty());
    EXPECT_EQ(content.back(), '\n');
    std::vector<std::string> lines = linesOf(path);
    ASSERT_EQ(lines.size(), 2u);
    std::smatch match;
    ASSERT_TRUE(std::regex_match(lines[0], match, kPrefixedLine)) << lines[0];
    EXPECT_EQ(match[8], "5");
    EXPECT_EQ(std::stol(match[9]), static_cast<long>(syscall(SYS_gettid)));
    EXPECT_EQ(match[10], "KopaFwClient::initKopaFwClient() <- 42 7");
    EXPECT_GE(std::stoi(match[1]), 2024);
    ASSERT_TRUE(std::regex_match(lines[1], match, kPrefixedLine)) << lines[1];
    EXPECT_EQ(match[8], "2");
    EXPECT_EQ(match[10], "second");
}

TEST_F(KopaLogTest, WritesNothingWhileTheNameIsEmpty) {
    const std::string path = file("trace");
    KopaLog::sKopaLogFileName = path;
    KopaLog().write(5) << "first";
    KopaLog::sKopaLogFileName.clear();
    KopaLog().write(5) << "while off";
    KopaLog::sKopaLogFileName = path;
    KopaLog().write(5) << "third";

    std::vector<std::string> lines = linesOf(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find(" first"), std::string::npos);
    EXPECT_NE(lines[1].find(" third"), std::string::npos);
}

TEST_F(KopaLogTest, AppendsToAnExistingFile) {
    const std::string path = file("trace");
    std::ofstream(path) << "earlier line\n";
    KopaLog::sKopaLogFileName = path;
    KopaLog().write(5) << "appended";
    std::vector<std::string> lines = linesOf(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "earlier line");
}

TEST_F(KopaLogTest, MovesToTheNewFileWhenTheNameChanges) {
    const std::string first = file("first");
    const std::string second = file("second");
    KopaLog::sKopaLogFileName = first;
    KopaLog().write(5) << "one";
    KopaLog::sKopaLogFileName = second;
    KopaLog().write(5) << "two";
    KopaLog().write(5) << "three";

    EXPECT_EQ(linesOf(first).size(), 1u);
    std::vector<std::string> lines = linesOf(second);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[1].find(" three"), std::string::npos);
}

TEST_F(KopaLogTest, SkipsAFileThatCannotBeOpenedAndCarriesOn) {
    KopaLog::sKopaLogFileName = dir_ + "/no/such/directory/trace";
    KopaLog().write(5) << "lost";
    KopaLog::sKopaLogFileName = dir_;  // a directory cannot be opened for writing either
    KopaLog().write(5) << "lost too";

    const std::string path = file("trace");
    KopaLog::sKopaLogFileName = path;
    KopaLog().write(5) << "found";
    std::vector<std::string> lines = linesOf(path);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find(" found"), std::string::npos);
}

TEST_F(KopaLogTest, LinesOfManyThreadsWritingAtOnceNeverInterleave) {
    const std::string path = file("trace");
    KopaLog::sKopaLogFileName = path;
    constexpr int kThreads = 8;
    constexpr int kLinesEach = 1500;
    // Long lines, built in several insertions, make torn or mixed lines likely if the file
    // were written in pieces.
    const std::string padding(300, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t, &padding] {
            for (int i = 0; i < kLinesEach; ++i) {
                KopaLog().write(5) << "thread " << t << " line " << i << ' ' << padding << " end";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    std::vector<std::string> lines = linesOf(path);
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLinesEach));
    const std::regex text("thread (\\d+) line (\\d+) x{300} end");
    std::vector<int> next(kThreads, 0);
    std::set<std::string> threadIds;
    for (const std::string& line : lines) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, kPrefixedLine)) << line;
        threadIds.insert(match[9]);
        const std::string body = match[10];
        std::smatch parts;
        ASSERT_TRUE(std::regex_match(body, parts, text)) << line;
        int thread = std::stoi(parts[1]);
        ASSERT_LT(thread, kThreads);
        EXPECT_EQ(std::stoi(parts[2]), next[thread]) << "lines of one thread keep their order";
        next[thread] = std::stoi(parts[2]) + 1;
    }
    EXPECT_EQ(threadIds.size(), static_cast<std::size_t>(kThreads));
}
