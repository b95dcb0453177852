// Each kind of scripted outcome, and how the queues hand them out.
#include <gmock/gmock.h>

#include "SimTestSupport.h"

using ::testing::ElementsAre;

namespace {

const char* const kServiceError = "com.ruvex.location.kopad.Error";

class Outcomes : public KopadSim {};

}  // namespace

TEST_F(Outcomes, WithNothingScriptedTheServiceAnswersItsBuiltInWorld) {
    KopaPosition position = positionFrom(client.request("currentPosition", currentPositionArgs()));
    EXPECT_NEAR(position.latitude(), 60.1699, 1e-9);
    EXPECT_NEAR(position.longitude(), 24.9384, 1e-9);
    EXPECT_TRUE(position.hasTimestamp());

    Answer measured = client.request("currentMeasurements", currentMeasurementsArgs());
    ASSERT_EQ(measured.kind, Answer::Kind::Return);
    KopaMeasurements measurements;
    ASSERT_EQ(measurements.internalize(measured.text), 0);
    EXPECT_FALSE(measurements.cells().empty());
    EXPECT_FALSE(measurements.wlans().empty());

    // Its own measurements lie on its own radio map.
    positionFrom(client.request("convertToPosition", convertArgs(measured.text)));
}

TEST_F(Outcomes, AScriptedReplySendsItsTextVerbatimEvenWhenEmpty) {
    sim.pushOutcomes("currentMeasurements", {"reply  two  spaces ", "reply "});
    Answer first = client.request("currentMeasurements", currentMeasurementsArgs());
    EXPECT_EQ(first.signature, "s");
    EXPECT_EQ(first.text, " two  spaces ");
    Answer second = client.request("currentMeasurements", currentMeasurementsArgs());
    EXPECT_EQ(second.kind, Answer::Kind::Return);
    EXPECT_EQ(second.signature, "s");
    EXPECT_EQ(second.text, "");
}

TEST_F(Outcomes, AServiceErrorCarriesAMessageWithItsCodeInBrackets) {
    // What clients rely on is the code between the brackets at the end, for every code.
    for (const char* code :
         {"41", "42", "43", "44", "45", "46", "47", "51", "52", "53", "54", "55", "56", "57"}) {
        sim.reset();
        sim.pushOutcomes("currentPosition", {std::string("error ") + code});
        Answer answer = client.request("currentPosition", currentPositionArgs());
        ASSERT_EQ(answer.kind, Answer::Kind::Error);
        EXPECT_EQ(answer.errorName, kServiceError);
        const std::string suffix = std::string(" (") + code + ")";
        ASSERT_GT(answer.message.size(), suffix.size()) << "a message before the code";
        EXPECT_EQ(answer.message.substr(answer.message.size() - suffix.size()), suffix);
    }
    sim.reset();
    sim.pushOutcomes("currentPosition", {"error 54"});
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).message,
              "Position not found (54)");
}

TEST_F(Outcomes, AServiceErrorMessageAndAnyOtherErrorNameAreSentAsWritten) {
    sim.pushOutcomes("lastKnownPosition", {"error 44 (44)(46)", "error 41 no brackets", "error 043",
                                           "dbus-error org.freedesktop.DBus.Error.Failed it broke",
                                           "dbus-error Com.Ruvex.Location.Kopad.Error (54)"});
    std::vector<std::pair<std::string, std::string>> seen;
    for (int i = 0; i < 5; ++i) {
        Answer answer = client.request("lastKnownPosition", lastKnownArgs());
        EXPECT_EQ(answer.kind, Answer::Kind::Error);
        seen.emplace_back(answer.errorName, answer.message);
    }
    EXPECT_THAT(seen, ElementsAre(std::make_pair(kServiceError, "(44)(46)"),
                                  std::make_pair(kServiceError, "no brackets"),
                                  std::make_pair(kServiceError, "Service error (043)"),
                                  std::make_pair("org.freedesktop.DBus.Error.Failed", "it broke"),
                                  std::make_pair("Com.Ruvex.Location.Kopad.Error", "(54)")));
}

TEST_F(Outcomes, MalformedRepliesReachTheClientInTheirScriptedShape) {
    sim.pushOutcomes("currentPosition", {"noarg", "int32 -5", "extra some text", "extra"});

    Answer noArg = client.request("currentPosition", currentPositionArgs());
    EXPECT_EQ(noArg.kind, Answer::Kind::Return);
    EXPECT_EQ(noArg.signature, "");

    Answer int32 = client.request("currentPosition", currentPositionArgs());
    EXPECT_EQ(int32.signature, "i");
    gint32 number = 0;
    g_variant_get(int32.body, "(i)", &number);
    EXPECT_EQ(number, -5);

    Answer extra = client.request("currentPosition", currentPositionArgs());
    EXPECT_EQ(extra.signature, "sis");
    const gchar* text = nullptr;
    const gchar* tail = nullptr;
    g_variant_get(extra.body, "(&si&s)", &text, &number, &tail);
    EXPECT_STREQ(text, "some text");
    EXPECT_EQ(number, 7);
    EXPECT_STREQ(tail, "extra");

    // Without a text, the service's own answer leads.
    Answer ownExtra = client.request("currentPosition", currentPositionArgs());
    EXPECT_EQ(ownExtra.signature, "sis");
    EXPECT_NEAR(positionFrom(ownExtra).latitude(), 60.1699, 1e-9);
}

TEST_F(Outcomes, NoReplyLeavesTheCallerToItsOwnTimeout) {
    sim.pushOutcomes("currentMeasurements", {"noreply"});
    Answer answer = client.request("currentMeasurements", currentMeasurementsArgs(), 300);
    EXPECT_EQ(answer.kind, Answer::Kind::TimedOut);
    EXPECT_EQ(sim.requests().size(), 1u);
}

TEST_F(Outcomes, ADelayedAnswerComesLaterWithoutHoldingBackOtherCalls) {
    KopaPosition scripted;
    scripted.setLatitude(1.5);
    sim.pushOutcomes("currentPosition", {"delay 1500 reply " + textOf(scripted)});
    Answer delayed;
    bool delayedDone = false;
    gint64 start = g_get_monotonic_time();
    client.requestAsync("com.ruvex.location.kopad", "currentPosition", currentPositionArgs(),
                        delayed, delayedDone);
    ASSERT_TRUE(sim.waitForRequests(1));

    Answer other = client.request("lastKnownPosition", lastKnownArgs());
    EXPECT_EQ(other.kind, Answer::Kind::Return);
    EXPECT_FALSE(delayedDone);

    ASSERT_TRUE(iterateUntilSet(delayedDone));
    EXPECT_GE(g_get_monotonic_time() - start, 1500 * 1000);
    EXPECT_EQ(positionFrom(delayed), scripted);
}

TEST_F(Outcomes, OutcomesAreTakenInOrderAndTheLastOneRepeats) {
    sim.pushOutcomes("currentMeasurements", {"reply a", "reply b"});
    sim.pushOutcomes("currentMeasurements", {"reply c"});
    std::vector<std::string> texts;
    for (int i = 0; i < 5; ++i) {
        texts.push_back(client.request("currentMeasurements", currentMeasurementsArgs()).text);
    }
    EXPECT_THAT(texts, ElementsAre("a", "b", "c", "c", "c"));
    // Each member has a queue of its own.
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Return);
    EXPECT_NE(client.request("currentPosition", currentPositionArgs()).text, "c");
}

TEST_F(Outcomes, ResetGoesBackToTheServiceOwnAnswers) {
    sim.pushOutcomes("currentPosition", {"error 54"});
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Error);
    sim.reset();
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Return);
}

TEST_F(Outcomes, PushOutcomesRefusesAnUnknownMemberOrOutcomeAndKeepsTheQueue) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> refused = {
        {"currentposition", {"reply"}},
        {"cancel", {"reply"}},
        {"currentPosition", {"error 54", "bogus"}},
        {"currentPosition", {"error"}},
        {"currentPosition", {"delay 10"}},
        {"currentPosition", {"delay x reply"}},
        {"currentPosition", {"int32 2147483648"}},
        {"currentPosition", {"int32"}},
        {"currentPosition", {"noreply now"}},
        {"currentPosition", {"dbus-error not-a-name message"}},
    };
    for (const auto& [member, outcomes] : refused) {
        try {
            sim.pushOutcomes(member, outcomes);
            ADD_FAILURE() << member << " " << outcomes.back() << " was accepted";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(),
                        ::testing::HasSubstr("org.freedesktop.DBus.Error.InvalidArgs"));
        }
    }
    // Nothing of a refused list was queued.
    EXPECT_EQ(client.request("currentPosition", currentPositionArgs()).kind, Answer::Kind::Return);
}
