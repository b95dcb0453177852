#ifndef KOPA_LOCATION_INFO_H
#define KOPA_LOCATION_INFO_H

#include <array>
#include <string>

#include "KopaPosition.h"

/// A location described by up to `kSlots` position estimates, with class type 2.
///
/// Slots are numbered from 1. Slot 1 holds the primary estimate: the position the service
/// reports (libkopapositioning always stores its answer there). Slots 2 and up hold
/// alternative estimates of the same location, for example from other methods, in the order
/// the producer ranks them. Storing into slot 1 also copies the position into the record's own
/// position fields, so code that reads a location info as a plain KopaPosition sees the
/// primary estimate.
class KOPA_DATATYPES_API KopaLocationInfo : public KopaPosition {
  public:
    /// The class type of a location info.
    static constexpr unsigned int kClassType = 2;
    /// How many position estimates a location info holds.
    static constexpr unsigned int kSlots = 4;
    /// Returned by the slot operations for an index outside 1..kSlots, or an empty slot.
    static constexpr int kNoSuchSlot = 11;

    /// A location info with every slot empty.
    KopaLocationInfo();
    /// Destroys the record.
    ~KopaLocationInfo() override;

    /// Stores `position` in slot `index`; 0 on success, kNoSuchSlot for a bad index.
    int setKopaPosition(unsigned int index, const KopaPosition& position);
    /// Copies slot `index` into `position`; 0 on success, kNoSuchSlot when out of range or empty.
    int getKopaPosition(unsigned int index, KopaPosition& position) const;
    /// Whether slot `index` holds a position.
    bool hasKopaPosition(unsigned int index) const;
    /// Empties slot `index`; a bad index changes nothing.
    void clearKopaPosition(unsigned int index);

    int internalize(const std::string& text) override;
    int externalize(std::string& text) const override;

    /// Equality of the position fields and of every slot.
    bool operator==(const KopaLocationInfo& other) const;
    /// Not operator==.
    bool operator!=(const KopaLocationInfo& other) const { return !(*this == other); }

  private:
    std::array<KopaPosition, kSlots> slots_;
    std::array<bool, kSlots> filled_{};
};

#endif
