// Recorded journeys: kopad-sim started by the test with its track options, on a private bus.
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
#include <thread>

#include "SimControl.h"

namespace {

// East along the equator for 100 s, then north for 100 s; 0.01 degrees each way.
const char* const kTwoLegs = R"(<?xml version="1.0"?>
<gpx version="1.1" xmlns="http://www.topografix.com/GPX/1/1"><trk><trkseg>
<trkpt lat="0" lon="0"><ele>0</ele><time>2025-01-01T00:00:00Z</time></trkpt>
<trkpt lat="0" lon="0.01"><ele>100</ele><time>2025-01-01T00:01:40Z</time></trkpt>
</trkseg><trkseg>
<trkpt lat="0.01" lon="0.01"><ele>100</ele><time>2025-01-01T00:03:20Z</time></trkpt>
</trkseg></trk></gpx>)";
const double kLegSpeed = 6371008.8 * 0.01 * M_PI / 180 / 100;  // m/s

// A simulator built for another architecture runs under the emulator the build names.
std::vector<std::string> emulator() {
    std::vector<std::string> words;
    std::istringstream line(getenv("KOPA_EMULATOR") ? getenv("KOPA_EMULATOR") : "");
    for (std::string word; line >> word;) {
        words.push_back(word);
    }
    return words;
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
        std::vector<std::string> prefix = emulator();
        args.insert(args.begin(), prefix.begin(), prefix.end());
        int ready[2];
        EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);  // only the copy on fd 3 reaches the simulator
        // Built before the fork: the child of a threaded process may only exec.
        std::vector<char*> argv;
        for (std::string& arg : args) {
            argv.push_back(&arg[0]);
        }
        argv.push_back(nullptr);
        pid_ = fork();
        if (pid_ == 0) {
            dup2(ready[1], 3);
            execvp(argv[0], argv.data());
            _exit(127);
        }
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

}  // namespace

// Each answer is checked against the journey at the moment its timestamp names.
TEST_F(Tracks, AnswersFollowTheJourneyThenHoldOrLoop) {
    struct Case {
        bool loop;
        bool fromScenario;
        double accuracy;
    };
    for (const Case& c : {Case{false, false, 20}, Case{true, true, 12}}) {
        std::string gpx = file("a.gpx", kTwoLegs);
        std::vector<std::string> args{"--track-rate", "100"};
        if (c.fromScenario) {  // the track's path is relative to the scenario's folder
            std::string name = gpx.substr(gpx.rfind('/') + 1);
            args.insert(args.end(),
                        {"--scenario", file(".scenario", "position 1 1 12\ntrack " + name)});
        } else {
            args.insert(args.end(), {"--track", gpx});
        }
        if (c.loop) {
            args.push_back("--track-loop");
        }
        long long startMs = start(args);
        ASSERT_GT(startMs, 0);
        int seen[3] = {};
        for (int i = 0; i < 30; ++i) {
            KopaPosition p = ask(i % 2 == 0);
            double s = (p.timestamp() - startMs) / 1000.0 * 100;
            if (c.loop) {
                s = std::fmod(s, 200);
            }
            int leg = s < 100 ? 0 : s < 200 ? 1 : 2;
            ++seen[leg];
            double f = std::min(1.0, std::max(0.0, leg == 0 ? s / 100 : (s - 100) / 100));
            EXPECT_NEAR(p.latitude(), leg == 0 ? 0 : 0.01 * f, 1e-9) << s;
            EXPECT_NEAR(p.longitude(), leg == 0 ? 0.01 * f : 0.01, 1e-9) << s;
            EXPECT_NEAR(p.altitude(), leg == 0 ? 100 * f : 100, 1e-6) << s;
            EXPECT_NEAR(p.speed(), leg == 2 ? 0 : kLegSpeed, 0.01) << s;
            EXPECT_EQ(p.hasHeading(), leg != 2) << s;
            if (leg != 2) {
                EXPECT_NEAR(p.heading(), leg == 0 ? 90 : 0, 1e-6) << s;
            }
            EXPECT_EQ(p.method(), KopaPositionMethod::Gnss);
            EXPECT_EQ(p.horizontalAccuracy(), c.accuracy);
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_GT(seen[0], 0);
        EXPECT_GT(seen[1], 0);
        EXPECT_EQ(seen[2] > 0, !c.loop);
        stop();
    }
}

TEST_F(Tracks, BrokenDocumentsAreRefusedByLineAndTheTrackInUseStays) {
    const std::pair<const char*, const char*> broken[] = {
        {"a plain text", "not GPX"},
        {"<kml><Placemark/></kml>", "line 1: not GPX"},
        {"<gpx>\n<trk><trkseg/></trk>\n</gpx>\n", "line 3: no points"},
        {"<gpx>\n<wpt lat=\"1\" lon=\"2\"/>\n<wpt lat=\"1\"/></gpx>", "line 3: <wpt> without lat"},
        {"<gpx>\n<rte><rtept lat=\"1\" lon=\"181\"/></rte></gpx>", "line 2: longitude"},
        {"<gpx><trk><trkseg>\n<trkpt lat=\"0\" "
         "lon=\"0\"><time>2025-01-01T00:00:10Z</time></trkpt>\n"
         "<trkpt lat=\"0\" "
         "lon=\"1\"><time>2025-01-01T00:00:09Z</time></trkpt>\n</trkseg></trk></gpx>",
         "line 3: time goes backwards"},
    };
    start({"--track", file("a.gpx", kTwoLegs)});
    for (const auto& [text, message] : broken) {
        std::string said;
        EXPECT_EQ(refusal("--track " + file("b.gpx", text), said), 2) << text;
        EXPECT_THAT(said, ::testing::HasSubstr(message)) << text;

        try {
            SimControl().loadTrack(text);
            ADD_FAILURE() << text << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), ::testing::HasSubstr(message)) << text;
        }
    }
    KopaPosition stillWalking = ask();
    EXPECT_EQ(stillWalking.latitude(), 0);
    EXPECT_NEAR(stillWalking.heading(), 90, 1e-6);

    std::string said;
    EXPECT_EQ(refusal("--track /", said), 2) << said;
    EXPECT_EQ(refusal("--track-rate 0", said), 2) << said;
}

TEST_F(Tracks, ShippedTracksLoadAndMove) {
    const char* source = std::getenv("KOPA_SOURCE_DIR");
    start({});
    for (const char* name : {"esplanadi-walk.gpx", "tampere-tram.gpx"}) {
        std::ifstream in(std::string(source ? source : ".") + "/service/tracks/" + name);
        std::stringstream text;
        text << in.rdbuf();
        EXPECT_NO_THROW(SimControl().loadTrack(text.str())) << name;
        EXPECT_GT(ask().speed(), 0) << name;
    }
}
