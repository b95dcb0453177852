// The records as C sees them: the position struct, and measurements behind a handle with
// accessors and their text form.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "Handles.h"

namespace kopa::capi {

kopa_position toC(const KopaPosition& position) noexcept {
    kopa_position out{};
    out.latitude = position.latitude();
    out.longitude = position.longitude();
    out.has_altitude = position.hasAltitude();
    out.altitude = position.altitude();
    out.has_horizontal_accuracy = position.hasHorizontalAccuracy();
    out.horizontal_accuracy = position.horizontalAccuracy();
    out.has_vertical_accuracy = position.hasVerticalAccuracy();
    out.vertical_accuracy = position.verticalAccuracy();
    out.has_speed = position.hasSpeed();
    out.speed = position.speed();
    out.has_heading = position.hasHeading();
    out.heading = position.heading();
    out.has_time = position.hasTimestamp();
    out.time_ms = position.timestamp();
    out.method = static_cast<kopa_position_method>(position.method());
    return out;
}

}  // namespace kopa::capi

static_assert(KOPA_METHOD_HYBRID == static_cast<int>(KopaPositionMethod::Hybrid));
static_assert(KOPA_RADIO_NR == static_cast<int>(KopaRadio::Nr));

extern "C" {

int kopa_measurements_new_from_text(const char* text, kopa_measurements** measurements,
                                    kopa_error** error) {
    try {
        auto made = std::make_unique<kopa_measurements>();
        const int code = made->record.internalize(text);
        if (code != KOPA_OK) {
            std::string why = std::string("measurements text refused: ") + kopa::codeName(code);
            return kopa::capi::refuse(error, code, why.c_str());
        }
        *measurements = made.release();
        return KOPA_OK;
    } catch (...) {
        return kopa::capi::failFromException(error);
    }
}

int kopa_measurements_to_text(const kopa_measurements* measurements, char** text,
                              kopa_error** error) {
    try {
        std::string written;
        const int code = measurements->record.externalize(written);
        if (code != KOPA_OK) {
            return kopa::capi::refuse(error, code, "the measurements cannot be written as text");
        }
        // malloc'd, so that kopa_text_free needs no length and C can read it as it is.
        char* copy = static_cast<char*>(std::malloc(written.size() + 1));
        if (copy == nullptr) {
            throw std::bad_alloc();
        }
        std::memcpy(copy, written.c_str(), written.size() + 1);
        *text = copy;
        return KOPA_OK;
    } catch (...) {
        return kopa::capi::failFromException(error);
    }
}

void kopa_text_free(char* text) {
    std::free(text);
}

kopa_measurements* kopa_measurements_copy(const kopa_measurements* measurements) {
    try {
        return new kopa_measurements(*measurements);
    } catch (...) {
        return nullptr;
    }
}

void kopa_measurements_free(kopa_measurements* measurements) {
    delete measurements;
}

size_t kopa_measurements_cell_count(const kopa_measurements* measurements) {
    return measurements->record.cells().size();
}

bool kopa_measurements_get_cell(const kopa_measurements* measurements, size_t index,
                                kopa_cell* cell) {
    const auto& cells = measurements->record.cells();
    if (index >= cells.size()) {
        return false;
    }
    const KopaCellObservation& in = cells[index];
    *cell = kopa_cell{static_cast<kopa_radio>(in.radio),
                      in.countryCode,
                      in.networkCode,
                      in.areaCode,
                      in.cellId,
                      in.signalStrength,
                      in.hasTimingAdvance,
                      in.timingAdvance};
    return true;
}

size_t kopa_measurements_wlan_count(const kopa_measurements* measurements) {
    return measurements->record.wlans().size();
}

bool kopa_measurements_get_wlan(const kopa_measurements* measurements, size_t index,
                                kopa_wlan* wlan) {
    const auto& wlans = measurements->record.wlans();
    if (index >= wlans.size()) {
        return false;
    }
    kopa_wlan out{};
    wlans[index].bssid.copy(out.bssid, sizeof out.bssid - 1);
    out.signal_strength = wlans[index].signalStrength;
    *wlan = out;
    return true;
}

}  // extern "C"
