// Recorded journeys: a fixture that starts kopad-sim (and other programs of the build) with the
// options a test needs, on the private bus the test runs on.
#ifndef KOPA_TEST_TRACK_FIXTURE_H
#define KOPA_TEST_TRACK_FIXTURE_H

#include <KopaPosition.h>
#include <KopaPositioning.h>
#include <fcntl.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <utility>

#include "SimControl.h"

// East along the equator for 100 s, then north for 100 s; 0.01 degrees each way.
inline const char* const kTwoLegs = R"(<?xml version="1.0"?>
<gpx version="1.1" xmlns="http://www.topografix.com/GPX/1/1"><trk><trkseg>
<trkpt lat="0" lon="0"><ele>0</ele><time>2025-01-01T00:00:00Z</time></trkpt>
<trkpt lat="0" lon="0.01"><ele>100</ele><time>2025-01-01T00:01:40Z</time></trkpt>
</trkseg><trkseg>
<trkpt lat="0.01" lon="0.01"><ele>100</ele><time>2025-01-01T00:03:20Z</time></trkpt>
</trkseg></trk></gpx>)";
inline const double kLegSpeed = 6371008.8 * 0.01 * M_PI / 180 / 100;  // m/s

// A program built for another architecture runs under the emulator the build names.
inline std::vector<std::string> emulator() {
    std::vector<std::string> words;
    std::istringstream line(getenv("KOPA_EMULATOR") ? getenv("KOPA_EMULATOR") : "");
    for (std::string word; line >> word;) {
        words.push_back(word);
    }
    return words;
}

// Starts `args` under the emulator, each descriptor of `fds` (from, to) duplicated onto `to`;
// returns its pid.
inline pid_t spawn(std::vector<std::string> args, std::vector<std::pair<int, int>> fds) {
    std::vector<std::string> prefix = emulator();
    args.insert(args.begin(), prefix.begin(), prefix.end());
    // Built before the fork: the child of a threaded process may only exec.
    std::vector<char*> argv;
    for (std::string& arg : args) {
        argv.push_back(&arg[0]);
    }
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        for (auto [from, to] : fds) {
            dup2(from, to);
        }
        execvp(argv[0], argv.data());
        _exit(127);
    }
    return pid;
}

class Tracks : public ::testing::Test {
  protected:
    void TearDown() override {
        stop();
        for (const std::string& file : files_) {
            unlink(file.c_str());
        }
    }

    // A clean end (status 0) also says that a sanitizer found nothing in the simulator.
    void stop() {
        if (pid_ > 0) {
            int status = -1;
            kill(pid_, SIGTERM);
            waitpid(pid_, &status, 0);
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
        }
        pid_ = -1;
    }

    std::string file(const std::string& name, const std::string& text) {
        std::string path = std::string(P_tmpdir) + "/kopa-track-" + std::to_string(getpid()) + name;
        std::ofstream(path) << text;
        files_.push_back(path);
        return path;
    }

    // Starts kopad-sim and waits until it owns its name; returns its journey's start (ms since
    // the epoch), -1 without a track.
    long long start(std::vector<std::string> args) {
        std::string log = file(".jsonl", "");
        args.insert(args.begin(), {KOPAD_SIM_PATH, "--quiet", "--ready-fd", "3", "--log", log});
        int ready[2];
        EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);  // only the copy on fd 3 reaches the simulator
        pid_ = spawn(args, {{ready[1], 3}});
        close(ready[1]);
        char line[8] = {};
        EXPECT_GT(read(ready[0], line, sizeof line), 0) << "kopad-sim did not start";
        close(ready[0]);
        std::ifstream in(log);
        std::stringstream events;
        events << in.rdbuf();
        // The track event says when the journey started; without a track there is none.
        std::size_t at = events.str().find("\"start\":");
        return at == std::string::npos ? -1 : std::stoll(events.str().substr(at + 8));
    }

    // The exit status of a kopad-sim that must not start, and what it said.
    static int refusal(const std::string& args, std::string& said) {
        std::string command;
        for (const std::string& word : emulator()) {
            command += word + " ";
        }
        command += std::string(KOPAD_SIM_PATH) + " --quiet " + args;
        gchar* err = nullptr;
        int status = -1;
        g_spawn_command_line_sync(command.c_str(), nullptr, &err, &status, nullptr);
        said = err ? err : "";
        g_free(err);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // The position as an application reads it, through the library.
    KopaPosition ask(bool lastKnown = false) {
        KopaPosition position;
        int result =
            lastKnown ? positioning_.lastKnownPosition(position, 0)
                      : positioning_.currentPosition(position, 0, KOPA_PACKET_DATA_NOT_ALLOWED, 10);
        EXPECT_EQ(result, KOPA_OK);
        return position;
    }

    KopaPositioning positioning_{nullptr};
    pid_t pid_ = -1;
    std::vector<std::string> files_;
};

#endif
