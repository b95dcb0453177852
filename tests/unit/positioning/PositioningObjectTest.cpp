// The operations of KopaPositioning that need no service, and the trace file it sets up.
#include <KopaPositioning.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>

#include "TraceCapture.h"
#include "fwclient/Timeout.h"

using ::testing::ElementsAre;

namespace {

class NullObserver : public KopaObserver {
  public:
    void requestCompleted(int, KopaRequestType) override {}
};

std::string constructorLine(const void* observer) {
    std::ostringstream line;
    line << "KopaPositioning::KopaPositioning(observer=" << observer << ")";
    return line.str();
}

}  // namespace

TEST(PositioningObject, ReportsItsVersionRefusesExtensionsAndTracesItsLife) {
    TraceCapture trace;
    NullObserver observer;
    {
        KopaPositioning positioning(&observer);
        KopaVersion version = positioning.version();
        EXPECT_EQ(version.majorVersion, 1);
        EXPECT_EQ(version.minorVersion, 0);
        EXPECT_EQ(version.patchVersion, 0);
        int dummy = 0;
        for (unsigned int id : {0u, 4294967295u}) {
            void* extension = &dummy;
            EXPECT_EQ(positioning.getExtension(id, extension), KOPA_ERROR_NOT_SUPPORTED);
            EXPECT_EQ(extension, nullptr);
        }
        positioning.setAccessKey(4294967295u);
        EXPECT_EQ(trace.levelledLines().back(), "L5 KopaPositioning::setAccessKey 4294967295");
    }
    { KopaPositioning positioning(nullptr); }
    EXPECT_THAT(trace.lines(),
                ElementsAre(constructorLine(&observer), "KopaPositioning::setAccessKey 4294967295",
                            "KopaPositioning::~KopaPositioning()", constructorLine(nullptr),
                            "KopaPositioning::~KopaPositioning()"));
}

TEST(PositioningObject, EachConstructionTakesTheTraceFileFromTheEnvironmentWhenSet) {
    TraceCapture target;  // a fresh file; the variable, not the capture, must point us there
    KopaLog::sKopaLogFileName = "/tmp/kopa-earlier-name";
    unsetenv("KOPAAPI_TRACEFILE");
    { KopaPositioning unset(nullptr); }
    EXPECT_EQ(KopaLog::sKopaLogFileName, "/tmp/kopa-earlier-name");
    unlink("/tmp/kopa-earlier-name");
    setenv("KOPAAPI_TRACEFILE", target.path().c_str(), 1);
    KopaPositioning positioning(nullptr);
    unsetenv("KOPAAPI_TRACEFILE");
    EXPECT_EQ(KopaLog::sKopaLogFileName, target.path());
    EXPECT_THAT(target.lines(), ElementsAre(constructorLine(nullptr)));
}

TEST(Timeout, SecondsBecomeMillisecondsZeroIsADayAndTooLongWaitsWithoutLimit) {
    const struct {
        unsigned int seconds;
        int milliseconds;
    } cases[] = {{0, 86400000},      {1, 1000},          {2147483, 2147483000},
                 {2147484, INT_MAX}, {4294968, INT_MAX},  // would wrap to 704 ms in 32 bits
                 {UINT_MAX, INT_MAX}};
    for (const auto& c : cases) {
        EXPECT_EQ(kopa::toDbusTimeoutMs(c.seconds), c.milliseconds) << c.seconds;
    }
}
