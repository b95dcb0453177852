#ifndef KOPA_TEST_TRACE_CAPTURE_H
#define KOPA_TEST_TRACE_CAPTURE_H

#include <KopaLog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// Points the trace at a fresh file for one test and reads back the texts of its lines,
// without the "time level thread" prefix that KopaLog puts before each text.
class TraceCapture {
  public:
    TraceCapture() {
        char pattern[] = "/tmp/kopa-trace.XXXXXX";
        int fd = mkstemp(pattern);
        if (fd >= 0) {
            close(fd);
        }
        path_ = pattern;
        previous_ = KopaLog::sKopaLogFileName;
        KopaLog::sKopaLogFileName = path_;
    }
    ~TraceCapture() {
        KopaLog::sKopaLogFileName = previous_;
        unlink(path_.c_str());
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    const std::string& path() const { return path_; }

    // Every line written so far, as "L<level> <text>" (the file has "<time> L<level> T<tid>
    // <text>").
    std::vector<std::string> levelledLines() const {
        std::vector<std::string> lines;
        std::ifstream in(path_);
        std::string line, time, level, thread, text;
        while (std::getline(in, line)) {
            std::istringstream fields(line);
            if (fields >> time >> level >> thread && std::getline(fields, text)) {
                lines.push_back(level + " " + text.substr(1));
            } else {
                lines.push_back("<malformed> " + line);
            }
        }
        return lines;
    }

    // Every line's text, without prefix and level.
    std::vector<std::string> lines() const {
        std::vector<std::string> texts;
        for (const std::string& line : levelledLines()) {
            texts.push_back(line.substr(line.find(' ') + 1));
        }
        return texts;
    }

    // The texts written since the last call of take(), so that a test can look at one step.
    std::vector<std::string> take() {
        std::vector<std::string> all = lines();
        std::vector<std::string> fresh(
            all.begin() + static_cast<long>(std::min(taken_, all.size())), all.end());
        taken_ = all.size();
        return fresh;
    }

  private:
    std::string path_;
    std::string previous_;
    std::size_t taken_ = 0;
};

#endif
