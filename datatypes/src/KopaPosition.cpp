#include "KopaPosition.h"

#include "PositionFields.h"
#include "TextFields.h"

namespace {
constexpr std::string_view kRecordName = "KopaPosition";
// A location info's own position fields are those of its primary estimate, so a plain position
// reads that text too and takes the primary estimate from it.
constexpr std::string_view kLocationInfoName = "KopaLocationInfo";
}  // namespace

KopaPosition::KopaPosition() : KopaPosition(kClassType, kFormatVersion) {}

KopaPosition::KopaPosition(unsigned int classType, unsigned int version)
    : classType_(classType), version_(version) {}

// Defined here, out of line, so that the class's type information and virtual table live in
// this library alone and dynamic_cast works across libraries built with hidden visibility.
KopaPosition::~KopaPosition() = default;

void KopaPosition::setAltitude(double metres) {
    altitude_ = metres;
    hasAltitude_ = true;
}

void KopaPosition::setHorizontalAccuracy(double metres) {
    horizontalAccuracy_ = metres;
    hasHorizontalAccuracy_ = true;
}

void KopaPosition::setVerticalAccuracy(double metres) {
    verticalAccuracy_ = metres;
    hasVerticalAccuracy_ = true;
}

void KopaPosition::setTimestamp(std::int64_t millisecondsSinceEpoch) {
    timestamp_ = millisecondsSinceEpoch;
    hasTimestamp_ = true;
}

void KopaPosition::setSpeed(double metresPerSecond) {
    speed_ = metresPerSecond;
    hasSpeed_ = true;
}

void KopaPosition::setHeading(double degrees) {
    heading_ = degrees;
    hasHeading_ = true;
}

int KopaPosition::internalize(const std::string& text) {
    std::string_view recordName;
    std::vector<kopa_text::Field> fields;
    int result = kopa_text::splitRecord(text, {kRecordName, kLocationInfoName}, kFormatVersion,
                                        recordName, fields);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    KopaPosition scratch;
    bool present = false;
    result = kopa_text::readPositionFields(fields, "", scratch, present);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    if (!present) {
        return KOPA_TEXT_MISSING_FIELD;
    }
    kopa_text::copyPositionFields(scratch, *this);
    return KOPA_TEXT_OK;
}

int KopaPosition::externalize(std::string& text) const {
    std::string line;
    kopa_text::beginRecord(line, kRecordName, kFormatVersion);
    int result = kopa_text::writePositionFields(*this, "", line);
    if (result == KOPA_TEXT_OK) {
        text.swap(line);
    }
    return result;
}

bool KopaPosition::operator==(const KopaPosition& other) const {
    return classType_ == other.classType_ && version_ == other.version_ &&
           kopa_text::samePositionFields(*this, other);
}
