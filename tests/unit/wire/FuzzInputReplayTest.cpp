#include <dirent.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ReplyFuzzing.h"

// The reply fuzz targets' seeds and the crash inputs they once found, run through the same
// checks as under the fuzzer, so that every sanitizer build of the unit tests repeats them.
namespace {

using Check = bool (*)(const std::uint8_t*, std::size_t);

std::vector<std::string> filesIn(const std::string& dir) {
    std::vector<std::string> files;
    if (DIR* handle = opendir(dir.c_str())) {
        while (dirent* entry = readdir(handle)) {
            if (entry->d_name[0] != '.') {
                files.push_back(dir + "/" + entry->d_name);
            }
        }
        closedir(handle);
    }
    return files;
}

// Returns how many inputs were replayed.
std::size_t replay(const std::string& corpus, const std::string& target, Check check) {
    std::size_t count = 0;
    for (const std::string& dir : {std::string(KOPA_FUZZ_DIR) + "/corpus/" + corpus,
                                   std::string(KOPA_FUZZ_DIR) + "/regressions/" + target}) {
        for (const std::string& path : filesIn(dir)) {
            std::ifstream in(path, std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(in)),
                                    std::istreambuf_iterator<char>());
            EXPECT_TRUE(check(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()))
                << path;
            ++count;
        }
    }
    return count;
}

}  // namespace

TEST(FuzzInputReplay, PositionReplyParserKeepsItsPromisesOnEverySavedInput) {
    EXPECT_GT(
        replay("parse_position_reply", "fuzz_parse_position_reply", &reply_fuzzing::positionReply),
        0u);
}

TEST(FuzzInputReplay, MeasurementsReplyParserKeepsItsPromisesOnEverySavedInput) {
    EXPECT_GT(replay("parse_measurements_reply", "fuzz_parse_measurements_reply",
                     &reply_fuzzing::measurementsReply),
              0u);
}

TEST(FuzzInputReplay, ErrorMappingKeepsItsPromisesOnEverySavedInput) {
    EXPECT_GT(replay("parse_error_reply", "fuzz_parse_error_reply", &reply_fuzzing::errorReply),
              0u);
}
