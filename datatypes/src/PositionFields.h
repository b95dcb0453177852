#ifndef KOPA_POSITION_FIELDS_H
#define KOPA_POSITION_FIELDS_H

// The position fields of a text, shared by KopaPosition and KopaLocationInfo. A location info
// writes its own position with no prefix and the position in slot N with the prefix "N.".

#include <string>
#include <string_view>
#include <vector>

#include "KopaPosition.h"
#include "TextFields.h"

namespace kopa_text {

/// Reads the fields named `prefix` + a position field name into `out`, which starts from a
/// default position. Sets `present` when at least one such field stands in the text; lat and
/// lon are then required. Other fields are ignored.
int readPositionFields(const std::vector<Field>& fields, std::string_view prefix, KopaPosition& out,
                       bool& present);

/// Appends " <prefix>name=value" for lat, lon and every optional field that is set;
/// KOPA_TEXT_NOT_REPRESENTABLE when a value is not finite or lies outside its field's range.
int writePositionFields(const KopaPosition& position, std::string_view prefix, std::string& text);

/// Copies the position fields of `from` into `to`, leaving the class type and version of `to`
/// as they are (a plain assignment would copy those too).
void copyPositionFields(const KopaPosition& from, KopaPosition& to);

/// True when every position field of the two records is the same, doubles bit for bit.
bool samePositionFields(const KopaPosition& a, const KopaPosition& b);

}  // namespace kopa_text

#endif
