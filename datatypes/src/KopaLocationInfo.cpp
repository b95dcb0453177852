#include "KopaLocationInfo.h"

#include "PositionFields.h"
#include "TextFields.h"

namespace {

constexpr std::string_view kRecordName = "KopaLocationInfo";
constexpr std::string_view kPositionName = "KopaPosition";

// Slot N's fields carry the prefix "N.", for example "2.lat".
std::string slotPrefix(unsigned int slot) {
    return std::to_string(slot + 1) + ".";
}

bool validIndex(unsigned int index) {
    return index >= 1 && index <= KopaLocationInfo::kSlots;
}

}  // namespace

KopaLocationInfo::KopaLocationInfo() : KopaPosition(kClassType, kFormatVersion) {}

KopaLocationInfo::~KopaLocationInfo() = default;

int KopaLocationInfo::setKopaPosition(unsigned int index, const KopaPosition& position) {
    if (!validIndex(index)) {
        return kNoSuchSlot;
    }
    // Slots hold plain positions: copy the fields only, never the class type of `position`.
    KopaPosition& slot = slots_[index - 1];
    slot = KopaPosition();
    kopa_text::copyPositionFields(position, slot);
    filled_[index - 1] = true;
    if (index == 1) {
        // The primary estimate is also what a reader of the plain position sees.
        kopa_text::copyPositionFields(position, *this);
    }
    return 0;
}

int KopaLocationInfo::getKopaPosition(unsigned int index, KopaPosition& position) const {
    if (!hasKopaPosition(index)) {
        return kNoSuchSlot;
    }
    kopa_text::copyPositionFields(slots_[index - 1], position);
    return 0;
}

bool KopaLocationInfo::hasKopaPosition(unsigned int index) const {
    return validIndex(index) && filled_[index - 1];
}

void KopaLocationInfo::clearKopaPosition(unsigned int index) {
    if (validIndex(index)) {
        slots_[index - 1] = KopaPosition();
        filled_[index - 1] = false;
    }
}

int KopaLocationInfo::internalize(const std::string& text) {
    std::string_view recordName;
    std::vector<kopa_text::Field> fields;
    int result = kopa_text::splitRecord(text, {kRecordName, kPositionName}, kFormatVersion,
                                        recordName, fields);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    KopaPosition own;
    bool present = false;
    result = kopa_text::readPositionFields(fields, "", own, present);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    if (!present) {
        return KOPA_TEXT_MISSING_FIELD;
    }
    KopaLocationInfo scratch;
    if (recordName == kPositionName) {
        // A plain position (what the service sends) becomes the primary estimate alone.
        scratch.setKopaPosition(1, own);
    } else {
        kopa_text::copyPositionFields(own, scratch);
        for (unsigned int slot = 0; slot < kSlots; ++slot) {
            KopaPosition estimate;
            result = kopa_text::readPositionFields(fields, slotPrefix(slot), estimate, present);
            if (result != KOPA_TEXT_OK) {
                return result;
            }
            if (present) {
                scratch.slots_[slot] = estimate;
                scratch.filled_[slot] = true;
            }
        }
    }
    kopa_text::copyPositionFields(scratch, *this);
    slots_ = scratch.slots_;
    filled_ = scratch.filled_;
    return KOPA_TEXT_OK;
}

int KopaLocationInfo::externalize(std::string& text) const {
    std::string line;
    kopa_text::beginRecord(line, kRecordName, kFormatVersion);
    int result = kopa_text::writePositionFields(*this, "", line);
    for (unsigned int slot = 0; slot < kSlots && result == KOPA_TEXT_OK; ++slot) {
        if (filled_[slot]) {
            result = kopa_text::writePositionFields(slots_[slot], slotPrefix(slot), line);
        }
    }
    if (result == KOPA_TEXT_OK) {
        text.swap(line);
    }
    return result;
}

bool KopaLocationInfo::operator==(const KopaLocationInfo& other) const {
    if (!KopaPosition::operator==(other) || filled_ != other.filled_) {
        return false;
    }
    for (unsigned int slot = 0; slot < kSlots; ++slot) {
        if (filled_[slot] && slots_[slot] != other.slots_[slot]) {
            return false;
        }
    }
    return true;
}
