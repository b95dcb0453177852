#include "PositionFields.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "KopaTextResult.h"

namespace kopa_text {
namespace {

enum FieldIndex : unsigned int { kLat, kLon, kAlt, kHacc, kVacc, kTime, kSpeed, kHeading, kMethod };

struct FieldName {
    std::string_view name;
    FieldIndex index;
};

constexpr FieldName kFieldNames[] = {
    {"lat", kLat},   {"lon", kLon},     {"alt", kAlt},         {"hacc", kHacc},     {"vacc", kVacc},
    {"time", kTime}, {"speed", kSpeed}, {"heading", kHeading}, {"method", kMethod},
};

struct MethodName {
    std::string_view name;
    KopaPositionMethod method;
};

constexpr MethodName kMethodNames[] = {
    {"unknown", KopaPositionMethod::Unknown}, {"gnss", KopaPositionMethod::Gnss},
    {"cell", KopaPositionMethod::Cell},       {"wlan", KopaPositionMethod::Wlan},
    {"hybrid", KopaPositionMethod::Hybrid},
};

// The ranges a position's values must lie in, for reading and for writing alike.
bool latitudeOk(double v) {
    return v >= -90.0 && v <= 90.0;
}
bool longitudeOk(double v) {
    return v >= -180.0 && v <= 180.0;
}
bool anyFinite(double v) {
    return std::isfinite(v);
}
bool nonNegative(double v) {
    return v >= 0.0 && std::isfinite(v);
}
bool headingOk(double v) {
    return v >= 0.0 && v < 360.0;
}

bool findField(std::string_view name, std::string_view prefix, FieldIndex& index) {
    if (name.size() <= prefix.size() || name.substr(0, prefix.size()) != prefix) {
        return false;
    }
    name.remove_prefix(prefix.size());
    for (const FieldName& field : kFieldNames) {
        if (field.name == name) {
            index = field.index;
            return true;
        }
    }
    return false;
}

int readRangedDouble(std::string_view value, bool (*inRange)(double), double& out) {
    double parsed = 0.0;
    int result = parseDouble(value, parsed);
    if (result != KOPA_TEXT_OK) {
        return result;
    }
    if (!inRange(parsed)) {
        return KOPA_TEXT_OUT_OF_RANGE;
    }
    out = parsed;
    return KOPA_TEXT_OK;
}

int readOneField(FieldIndex index, std::string_view value, KopaPosition& out) {
    double number = 0.0;
    int result = KOPA_TEXT_OK;
    switch (index) {
        case kLat:
            result = readRangedDouble(value, latitudeOk, number);
            out.setLatitude(number);
            break;
        case kLon:
            result = readRangedDouble(value, longitudeOk, number);
            out.setLongitude(number);
            break;
        case kAlt:
            result = readRangedDouble(value, anyFinite, number);
            out.setAltitude(number);
            break;
        case kHacc:
            result = readRangedDouble(value, nonNegative, number);
            out.setHorizontalAccuracy(number);
            break;
        case kVacc:
            result = readRangedDouble(value, nonNegative, number);
            out.setVerticalAccuracy(number);
            break;
        case kSpeed:
            result = readRangedDouble(value, nonNegative, number);
            out.setSpeed(number);
            break;
        case kHeading:
            result = readRangedDouble(value, headingOk, number);
            out.setHeading(number);
            break;
        case kTime: {
            std::int64_t milliseconds = 0;
            result = parseInteger(value, std::numeric_limits<std::int64_t>::min(),
                                  std::numeric_limits<std::int64_t>::max(), milliseconds);
            out.setTimestamp(milliseconds);
            break;
        }
        case kMethod:
            result = KOPA_TEXT_BAD_VALUE;
            for (const MethodName& method : kMethodNames) {
                if (method.name == value) {
                    out.setMethod(method.method);
                    result = KOPA_TEXT_OK;
                }
            }
            break;
    }
    // `out` is a scratch record that the caller drops on failure, so a field set above from a
    // bad value never reaches anyone.
    return result;
}

bool appendRanged(std::string& text, std::string_view prefix, std::string_view name, double value,
                  bool (*inRange)(double)) {
    if (!inRange(value)) {
        return false;
    }
    text += ' ';
    text.append(prefix);
    text.append(name);
    text += '=';
    return appendDouble(text, value);
}

bool sameDouble(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

int readPositionFields(const std::vector<Field>& fields, std::string_view prefix, KopaPosition& out,
                       bool& present) {
    SeenFields seen;
    present = false;
    for (const Field& field : fields) {
        FieldIndex index = kLat;
        if (!findField(field.name, prefix, index)) {
            continue;  // another record part's field, or one a newer producer added
        }
        present = true;
        if (!seen.first(index)) {
            return KOPA_TEXT_DUPLICATE_FIELD;
        }
        int result = readOneField(index, field.value, out);
        if (result != KOPA_TEXT_OK) {
            return result;
        }
    }
    if (present) {
        SeenFields required = seen;
        if (required.first(kLat) || required.first(kLon)) {
            return KOPA_TEXT_MISSING_FIELD;
        }
    }
    return KOPA_TEXT_OK;
}

int writePositionFields(const KopaPosition& p, std::string_view prefix, std::string& text) {
    bool ok = appendRanged(text, prefix, "lat", p.latitude(), latitudeOk) &&
              appendRanged(text, prefix, "lon", p.longitude(), longitudeOk);
    if (ok && p.hasAltitude()) {
        ok = appendRanged(text, prefix, "alt", p.altitude(), anyFinite);
    }
    if (ok && p.hasHorizontalAccuracy()) {
        ok = appendRanged(text, prefix, "hacc", p.horizontalAccuracy(), nonNegative);
    }
    if (ok && p.hasVerticalAccuracy()) {
        ok = appendRanged(text, prefix, "vacc", p.verticalAccuracy(), nonNegative);
    }
    if (ok && p.hasTimestamp()) {
        text += ' ';
        text.append(prefix);
        text.append("time=");
        appendInteger(text, p.timestamp());
    }
    if (ok && p.hasSpeed()) {
        ok = appendRanged(text, prefix, "speed", p.speed(), nonNegative);
    }
    if (ok && p.hasHeading()) {
        ok = appendRanged(text, prefix, "heading", p.heading(), headingOk);
    }
    if (ok && p.method() != KopaPositionMethod::Unknown) {
        ok = false;
        for (const MethodName& method : kMethodNames) {
            if (method.method == p.method()) {
                text += ' ';
                text.append(prefix);
                text.append("method=");
                text.append(method.name);
                ok = true;
            }
        }
    }
    return ok ? KOPA_TEXT_OK : KOPA_TEXT_NOT_REPRESENTABLE;
}

void copyPositionFields(const KopaPosition& from, KopaPosition& to) {
    to.setLatitude(from.latitude());
    to.setLongitude(from.longitude());
    from.hasAltitude() ? to.setAltitude(from.altitude()) : to.clearAltitude();
    from.hasHorizontalAccuracy() ? to.setHorizontalAccuracy(from.horizontalAccuracy())
                                 : to.clearHorizontalAccuracy();
    from.hasVerticalAccuracy() ? to.setVerticalAccuracy(from.verticalAccuracy())
                               : to.clearVerticalAccuracy();
    from.hasTimestamp() ? to.setTimestamp(from.timestamp()) : to.clearTimestamp();
    from.hasSpeed() ? to.setSpeed(from.speed()) : to.clearSpeed();
    from.hasHeading() ? to.setHeading(from.heading()) : to.clearHeading();
    to.setMethod(from.method());
}

bool samePositionFields(const KopaPosition& a, const KopaPosition& b) {
    // An unset optional field's stale value does not matter.
    auto sameOptional = [](bool hasA, double valueA, bool hasB, double valueB) {
        return hasA == hasB && (!hasA || sameDouble(valueA, valueB));
    };
    return sameDouble(a.latitude(), b.latitude()) && sameDouble(a.longitude(), b.longitude()) &&
           sameOptional(a.hasAltitude(), a.altitude(), b.hasAltitude(), b.altitude()) &&
           sameOptional(a.hasHorizontalAccuracy(), a.horizontalAccuracy(),
                        b.hasHorizontalAccuracy(), b.horizontalAccuracy()) &&
           sameOptional(a.hasVerticalAccuracy(), a.verticalAccuracy(), b.hasVerticalAccuracy(),
                        b.verticalAccuracy()) &&
           a.hasTimestamp() == b.hasTimestamp() &&
           (!a.hasTimestamp() || a.timestamp() == b.timestamp()) &&
           sameOptional(a.hasSpeed(), a.speed(), b.hasSpeed(), b.speed()) &&
           sameOptional(a.hasHeading(), a.heading(), b.hasHeading(), b.heading()) &&
           a.method() == b.method();
}

}  // namespace kopa_text
