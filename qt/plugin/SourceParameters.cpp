#include "SourceParameters.h"

#include <limits>

#include "KopaLogging.h"

namespace {

// QVariant converts almost anything to a number or a bool ("abc" gives 0, false): take only
// values that really are one, so that a typing mistake is reported instead of obeyed.
bool readInteger(const QVariant& value, qlonglong minimum, qlonglong maximum, qlonglong& out) {
    bool ok = false;
    const qlonglong number = value.toLongLong(&ok);
    if (!ok || number < minimum || number > maximum) {
        return false;
    }
    out = number;
    return true;
}

bool readBool(const QVariant& value, bool& out) {
    if (value.typeId() == QMetaType::Bool) {
        out = value.toBool();
        return true;
    }
    const QString text = value.toString().trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("1")) {
        out = true;
        return true;
    }
    if (text == QLatin1String("false") || text == QLatin1String("0")) {
        out = false;
        return true;
    }
    return false;
}

}  // namespace

SourceParameters::SourceParameters(const QVariantMap& parameters) {
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
        if (!it.key().startsWith(QLatin1String("kopa."))) {
            continue;
        }
        if (!set(it.key(), it.value())) {
            qCWarning(lcPositioningKopa) << "ignoring the parameter" << it.key() << "="
                                         << it.value() << "; keeping" << get(it.key());
        }
    }
}

bool SourceParameters::set(const QString& name, const QVariant& value) {
    qlonglong number = 0;
    if (name == QLatin1String(kTimeout)) {
        if (!readInteger(value, 1, std::numeric_limits<int>::max(), number)) {
            return false;
        }
        timeoutMs_ = static_cast<int>(number);
        return true;
    }
    if (name == QLatin1String(kRequestParameter)) {
        if (!readInteger(value, 0, std::numeric_limits<unsigned int>::max(), number)) {
            return false;
        }
        requestParameter_ = static_cast<unsigned int>(number);
        return true;
    }
    if (name == QLatin1String(kPacketData)) {
        return readBool(value, packetDataAllowed_);
    }
    return false;
}

QVariant SourceParameters::get(const QString& name) const {
    if (name == QLatin1String(kTimeout)) {
        return timeoutMs_;
    }
    if (name == QLatin1String(kRequestParameter)) {
        return requestParameter_;
    }
    if (name == QLatin1String(kPacketData)) {
        return packetDataAllowed_;
    }
    return {};
}

kopa::RequestOptions SourceParameters::requestOptions(int timeoutMs) const {
    kopa::RequestOptions options;
    options.timeout = std::chrono::milliseconds(timeoutMs > 0 ? timeoutMs : timeoutMs_);
    options.requestParameter = requestParameter_;
    options.packetData =
        packetDataAllowed_ ? KOPA_PACKET_DATA_ALLOWED : KOPA_PACKET_DATA_NOT_ALLOWED;
    return options;
}
