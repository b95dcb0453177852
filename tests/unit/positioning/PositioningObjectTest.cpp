// The operations of KopaPositioning that need no service, and the trace file it sets up.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "TraceCapture.h"

using ::testing::ElementsAre;

namespace {

class NullObserver : public KopaObserver {
  public:
    void requestCompleted(int, KopaRequestType) override {}
};

}  // namespace

TEST(PositioningObject, ReportsVersionOneZeroZero) {
    KopaPositioning positioning(nullptr);
    KopaVersion version = positioning.version();
    EXPECT_EQ(version.majorVersion, 1);
    EXPECT_EQ(version.minorVersion, 0);
    EXPECT_EQ(version.patchVersion, 0);
}

TEST(PositioningObject, RefusesEveryExtensionAndClearsThePointer) {
    KopaPositioning positioning(nullptr);
    int dummy = 0;
    for (unsigned int id : {0u, 1u, 4294967295u}) {
        void* extension = &dummy;
        EXPECT_EQ(positioning.getExtension(id, extension), KOPA_ERROR_NOT_SUPPORTED);
        EXPECT_EQ(extension, nullptr);
    }
}

TEST(PositioningObject, WritesTheAccessKeyToTheTraceAndNothingElse) {
    TraceCapture trace;
    KopaPositioning positioning(nullptr);
    trace.take();
    positioning.setAccessKey(42);
    positioning.setAccessKey(4294967295u);
    EXPECT_EQ(trace.levelledLines().back(), "L5 KopaPositioning::setAccessKey 4294967295");
    EXPECT_THAT(trace.take(), ElementsAre("KopaPositioning::setAccessKey 42",
                                          "KopaPositioning::setAccessKey 4294967295"));
}

TEST(PositioningObject, TracesConstructionWithTheObserverAddressAndDestruction) {
    TraceCapture trace;
    NullObserver observer;
    std::ostringstream expected;
    expected << "KopaPositioning::KopaPositioning(observer=" << static_cast<const void*>(&observer)
             << ")";
    { KopaPositioning positioning(&observer); }
    { KopaPositioning positioning(nullptr); }
    std::ostringstream nullLine;
    nullLine << "KopaPositioning::KopaPositioning(observer=" << static_cast<const void*>(nullptr)
             << ")";
    EXPECT_THAT(trace.lines(), ElementsAre(expected.str(), "KopaPositioning::~KopaPositioning()",
                                           nullLine.str(), "KopaPositioning::~KopaPositioning()"));
}

class TraceFileFromEnvironment : public ::testing::Test {
  protected:
    void SetUp() override {
        KopaLog::sKopaLogFileName.clear();
        unsetenv("KOPAAPI_TRACEFILE");
    }
    void TearDown() override {
        unsetenv("KOPAAPI_TRACEFILE");
        KopaLog::sKopaLogFileName.clear();
    }
};

TEST_F(TraceFileFromEnvironment, UnsetVariableLeavesTheNameAlone) {
    KopaLog::sKopaLogFileName = "/tmp/kopa-earlier-name";
    KopaPositioning positioning(nullptr);
    EXPECT_EQ(KopaLog::sKopaLogFileName, "/tmp/kopa-earlier-name");
}

TEST_F(TraceFileFromEnvironment, ConstructionCopiesTheVariableAndWritesItsOwnLineThere) {
    TraceCapture target;  // a fresh file; the variable, not the capture, must point us there
    KopaLog::sKopaLogFileName.clear();
    setenv("KOPAAPI_TRACEFILE", target.path().c_str(), 1);
    KopaPositioning positioning(nullptr);
    EXPECT_EQ(KopaLog::sKopaLogFileName, target.path());
    ASSERT_EQ(target.lines().size(), 1u);
    EXPECT_EQ(target.lines()[0].rfind("KopaPositioning::KopaPositioning(observer=", 0), 0u);
}

TEST_F(TraceFileFromEnvironment, TheLaterConstructionWins) {
    setenv("KOPAAPI_TRACEFILE", "/tmp/kopa-first-trace", 1);
    KopaPositioning first(nullptr);
    setenv("KOPAAPI_TRACEFILE", "/tmp/kopa-second-trace", 1);
    KopaPositioning second(nullptr);
    EXPECT_EQ(KopaLog::sKopaLogFileName, "/tmp/kopa-second-trace");
    unsetenv("KOPAAPI_TRACEFILE");
    KopaPositioning third(nullptr);
    EXPECT_EQ(KopaLog::sKopaLogFileName, "/tmp/kopa-second-trace");
    unlink("/tmp/kopa-first-trace");
    unlink("/tmp/kopa-second-trace");
}
