#include "TextFields.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "KopaTextResult.h"

namespace kopa_text {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Splits off the next white-space separated token; empty when none is left.
std::string_view nextToken(std::string_view& rest) {
    std::size_t begin = 0;
    while (begin < rest.size() && isSpace(rest[begin])) {
        ++begin;
    }
    std::size_t end = begin;
    while (end < rest.size() && !isSpace(rest[end])) {
        ++end;
    }
    std::string_view token = rest.substr(begin, end - begin);
    rest.remove_prefix(end);
    return token;
}

bool allDigits(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    for (char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

// "<major>" or "<major>.<minor>": a newer minor version only adds fields, which we ignore.
bool readMajor(std::string_view version, unsigned int& major) {
    std::string_view majorText = version.substr(0, version.find('.'));
    if (majorText.size() < version.size() && !allDigits(version.substr(majorText.size() + 1))) {
        return false;
    }
    if (!allDigits(majorText)) {
        return false;
    }
    auto [end, error] =
        std::from_chars(majorText.data(), majorText.data() + majorText.size(), major);
    return error == std::errc() && end == majorText.data() + majorText.size();
}

}  // namespace

int splitRecord(std::string_view text, std::initializer_list<std::string_view> recordNames,
                unsigned int supportedMajor, std::string_view& recordName,
                std::vector<Field>& fields) {
    std::string_view rest = text;
    std::string_view header = nextToken(rest);
    if (header.empty()) {
        return KOPA_TEXT_EMPTY;
    }
    std::size_t slash = header.find('/');
    std::string_view name = header.substr(0, slash);
    bool known = false;
    for (std::string_view candidate : recordNames) {
        known = known || candidate == name;
    }
    if (!known) {
        return KOPA_TEXT_WRONG_RECORD;
    }
    unsigned int major = 0;
    if (slash == std::string_view::npos || !readMajor(header.substr(slash + 1), major) ||
        major != supportedMajor) {
        return KOPA_TEXT_UNSUPPORTED_VERSION;
    }
    std::vector<Field> found;
    for (std::string_view token = nextToken(rest); !token.empty(); token = nextToken(rest)) {
        std::size_t equals = token.find('=');
        if (equals == 0 || equals == std::string_view::npos) {
            return KOPA_TEXT_MALFORMED_FIELD;
        }
        found.push_back(Field{token.substr(0, equals), token.substr(equals + 1)});
    }
    recordName = name;
    fields.swap(found);
    return KOPA_TEXT_OK;
}

void beginRecord(std::string& text, std::string_view recordName, unsigned int major) {
    text.assign(recordName);
    text += '/';
    appendUnsigned(text, major);
}

int parseDouble(std::string_view value, double& out) {
    // from_chars also takes "inf" and "nan"; only plain decimal numbers are accepted here.
    for (char c : value) {
        bool numeric =
            (c >= '0' && c <= '9') || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
        if (!numeric) {
            return KOPA_TEXT_BAD_NUMBER;
        }
    }
    double parsed = 0.0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), parsed);
    if (value.empty() || end != value.data() + value.size()) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    if (error == std::errc::result_out_of_range) {
        return KOPA_TEXT_OUT_OF_RANGE;
    }
    if (error != std::errc() || !std::isfinite(parsed)) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    out = parsed;
    return KOPA_TEXT_OK;
}

int parseInteger(std::string_view value, std::int64_t min, std::int64_t max, std::int64_t& out) {
    bool negative = !value.empty() && value.front() == '-';
    if (!allDigits(negative ? value.substr(1) : value)) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    std::int64_t parsed = 0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), parsed);
    (void)end;  // allDigits has made sure that the whole value is read
    if (error == std::errc::result_out_of_range || parsed < min || parsed > max) {
        return KOPA_TEXT_OUT_OF_RANGE;
    }
    if (error != std::errc()) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    out = parsed;
    return KOPA_TEXT_OK;
}

int parseUnsigned(std::string_view value, std::uint64_t max, std::uint64_t& out) {
    if (!value.empty() && value.front() == '-') {
        return allDigits(value.substr(1)) ? KOPA_TEXT_OUT_OF_RANGE : KOPA_TEXT_BAD_NUMBER;
    }
    if (!allDigits(value)) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    std::uint64_t parsed = 0;
    auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), parsed);
    (void)end;
    if (error == std::errc::result_out_of_range || parsed > max) {
        return KOPA_TEXT_OUT_OF_RANGE;
    }
    if (error != std::errc()) {
        return KOPA_TEXT_BAD_NUMBER;
    }
    out = parsed;
    return KOPA_TEXT_OK;
}

bool appendDouble(std::string& text, double value) {
    if (!std::isfinite(value)) {
        return false;
    }
    char buffer[32];  // the longest shortest form, "-2.2250738585072014e-308", fits easily
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    if (error != std::errc()) {
        return false;
    }
    text.append(buffer, end);
    return true;
}

void appendInteger(std::string& text, std::int64_t value) {
    char buffer[24];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    (void)error;  // 20 characters always suffice
    text.append(buffer, end);
}

void appendUnsigned(std::string& text, std::uint64_t value) {
    char buffer[24];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    (void)error;
    text.append(buffer, end);
}

void appendName(std::string& text, std::string_view name) {
    text += ' ';
    text.append(name);
    text += '=';
}

bool SeenFields::first(unsigned int index) {
    std::uint64_t bit = std::uint64_t{1} << index;
    bool fresh = (seen_ & bit) == 0;
    seen_ |= bit;
    return fresh;
}

}  // namespace kopa_text
