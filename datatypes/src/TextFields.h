#ifndef KOPA_TEXT_FIELDS_H
#define KOPA_TEXT_FIELDS_H

// The one-line text form shared by every record:
//
//     <RecordName>/<major>[.<minor>] name=value name=value ...
//
// Tokens are separated by white space; a value holds no white space. These helpers split a
// line into its header and fields and read and write the numbers in it. They know nothing of
// the records' own fields.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace kopa_text {

struct Field {
    std::string_view name;
    std::string_view value;
};

/// Splits `text` into its record name and fields, accepting any of `recordNames` and a major
/// version of `supportedMajor`. Returns KOPA_TEXT_OK, KOPA_TEXT_EMPTY, KOPA_TEXT_WRONG_RECORD,
/// KOPA_TEXT_UNSUPPORTED_VERSION or KOPA_TEXT_MALFORMED_FIELD. The views point into `text`.
int splitRecord(std::string_view text, std::initializer_list<std::string_view> recordNames,
                unsigned int supportedMajor, std::string_view& recordName,
                std::vector<Field>& fields);

/// Starts a text with its header, "<recordName>/<major>".
void beginRecord(std::string& text, std::string_view recordName, unsigned int major);

/// Reads a finite double written in decimal (or exponent) notation. KOPA_TEXT_BAD_NUMBER for
/// anything else (including "nan" and "inf"), KOPA_TEXT_OUT_OF_RANGE when the number does not
/// fit a double.
int parseDouble(std::string_view value, double& out);

/// Reads a decimal integer within [min, max]: KOPA_TEXT_BAD_NUMBER or KOPA_TEXT_OUT_OF_RANGE.
int parseInteger(std::string_view value, std::int64_t min, std::int64_t max, std::int64_t& out);
/// The same for an unsigned integer up to `max`.
int parseUnsigned(std::string_view value, std::uint64_t max, std::uint64_t& out);

/// Appends the shortest decimal form that reads back to exactly `value`; false (and nothing
/// appended) when the value is not finite.
bool appendDouble(std::string& text, double value);
void appendInteger(std::string& text, std::int64_t value);
void appendUnsigned(std::string& text, std::uint64_t value);

/// Appends " name=" ready for the value.
void appendName(std::string& text, std::string_view name);

/// Remembers which known fields a record has seen, so that a second one can be refused.
class SeenFields {
  public:
    /// True the first time `index` is seen, false afterwards.
    bool first(unsigned int index);

  private:
    std::uint64_t seen_ = 0;
};

}  // namespace kopa_text

#endif
