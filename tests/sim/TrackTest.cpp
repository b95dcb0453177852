// Recorded journeys: kopad-sim started by the test with its track options, on a private bus.
#include <thread>

#include "TrackFixture.h"

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
            // At 100 times the recorded pace, in the answers' wall-clock time.
            EXPECT_NEAR(p.speed(), leg == 2 ? 0 : kLegSpeed * 100, 1) << s;
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
        {"{\"type\":\"Feature\"}", "GeoJSON, not GPX: a journey to replay is recorded with"},
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
