#include "KopaLog.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "LogSink.h"

std::string KopaLog::sKopaLogFileName;

namespace {

// Defined after the name, so destroyed right before it when exit() comes to this library:
// lines written from then on, by other threads or by later exit-time destructors, go to the
// copy that the sink keeps.
struct FileNameKeeper {
    ~FileNameKeeper() { kopa_log::LogSink::instance().keepFileName(); }
} fileNameKeeper;

// "YYYY-MM-DDTHH:MM:SS.mmmZ L<level> T<thread id> ", the time in UTC.
void writePrefix(std::ostream& out, int level) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    char prefix[96];
    std::snprintf(prefix, sizeof prefix, "%04d-%02d-%02dT%02d:%02d:%02d.%03ldZ L%d T%ld ",
                  utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                  utc.tm_sec, static_cast<long>(now.tv_nsec / 1000000), level,
                  static_cast<long>(syscall(SYS_gettid)));
    out << prefix;
}

}  // namespace

std::stringstream& KopaLog::write(int level) {
    // Lines are built even when tracing is off; only the prefix is worth skipping.
    if (kopa_log::LogSink::instance().tracing()) {
        writePrefix(lineStream, level);
    }
    return lineStream;
}

KopaLog::~KopaLog() {
    try {
        kopa_log::LogSink& sink = kopa_log::LogSink::instance();
        const std::string fileName = sink.fileName();
        if (fileName.empty()) {
            return;
        }
        std::string line = lineStream.str();
        line += '\n';
        sink.write(fileName, std::move(line));
    } catch (...) {
        // Tracing never changes what a program does, not even when memory runs out.
    }
}
