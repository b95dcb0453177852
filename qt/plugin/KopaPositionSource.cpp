#include "KopaPositionSource.h"

#include <QMetaObject>
#include <QThread>
#include <algorithm>
#include <chrono>
#include <utility>

#include "DefaultContextDriver.h"
#include "KopaLogging.h"
#include "PositionConversion.h"

namespace {

// The service answers in tens of milliseconds; asking more often only queues requests.
constexpr int kMinimumUpdateIntervalMs = 100;

const QString kLastErrorProperty = QStringLiteral("kopa.lastError");

}  // namespace

KopaPositionSource::KopaPositionSource(const QVariantMap& parameters, QObject* parent)
    : QGeoPositionInfoSource(parent),
      driver_(std::make_unique<DefaultContextDriver>()),
      client_(std::make_unique<kopa::Client>()),
      parameters_(parameters) {}

// The handles go before the client and the client before the loop thread (member order):
// each cancels what it holds, so the service hears of every request left outstanding.
KopaPositionSource::~KopaPositionSource() = default;

void KopaPositionSource::setUpdateInterval(int msec) {
    const int interval = msec <= 0 ? 0 : std::max(msec, minimumUpdateInterval());
    if (interval == updateInterval()) {
        return;
    }
    QGeoPositionInfoSource::setUpdateInterval(interval);
    if (updatesActive_) {
        subscribe();
    }
}

QGeoPositionInfo KopaPositionSource::lastKnownPosition(
    bool fromSatellitePositioningMethodsOnly) const {
    return fromSatellitePositioningMethodsOnly ? lastKnownFromSatellites_ : lastKnown_;
}

QGeoPositionInfoSource::PositioningMethods KopaPositionSource::supportedPositioningMethods() const {
    return AllPositioningMethods;
}

int KopaPositionSource::minimumUpdateInterval() const {
    return kMinimumUpdateIntervalMs;
}

QGeoPositionInfoSource::Error KopaPositionSource::error() const {
    return error_;
}

bool KopaPositionSource::setBackendProperty(const QString& name, const QVariant& value) {
    if (!parameters_.set(name, value)) {
        return false;
    }
    // Regular updates take the new options from their next request on.
    if (updatesActive_) {
        subscribe();
    }
    return true;
}

QVariant KopaPositionSource::backendProperty(const QString& name) const {
    if (name == kLastErrorProperty) {
        return lastError_ ? QVariant(toVariantMap(*lastError_)) : QVariant(QVariantMap{});
    }
    return parameters_.get(name);
}

void KopaPositionSource::startUpdates() {
    if (updatesActive_) {
        return;
    }
    error_ = NoError;
    updatesActive_ = true;
    askForLastKnownPositionOnce();
    subscribe();
}

void KopaPositionSource::stopUpdates() {
    if (!updatesActive_) {
        return;
    }
    updatesActive_ = false;
    ++updatesGeneration_;
    updates_.cancel();
}

void KopaPositionSource::requestUpdate(int timeout) {
    if (requestInFlight_) {
        return;
    }
    error_ = NoError;
    if (timeout < 0 || (timeout > 0 && timeout < minimumUpdateInterval())) {
        const std::string reason = "a time-out of " + std::to_string(timeout) +
                                   " ms is below the source's minimum update interval of " +
                                   std::to_string(minimumUpdateInterval()) + " ms";
        qCDebug(lcPositioningKopa) << "requestUpdate:" << reason.c_str();
        // Signals never come from inside the call that caused them.
        QMetaObject::invokeMethod(
            this,
            [this, reason] {
                fail(kopa::Error(KOPA_ERROR_NO_REPLY, {KOPA_FAILURE_REFUSED, {}, reason}));
            },
            Qt::QueuedConnection);
        return;
    }
    askForLastKnownPositionOnce();
    requestInFlight_ = true;
    request_ = client_->currentPositionAsync(parameters_.requestOptions(timeout),
                                             callbackFor(Origin::Request, ++requestGeneration_));
}

kopa::PositionCallback KopaPositionSource::callbackFor(Origin origin, std::uint64_t generation) {
    return [this, origin, generation](const kopa::Result<KopaPosition>& result) {
        if (QThread::currentThread() == thread()) {
            handle(origin, generation, result);
            return;
        }
        QMetaObject::invokeMethod(
            this, [this, origin, generation, result] { handle(origin, generation, result); },
            Qt::QueuedConnection);
    };
}

// Runs on the source's thread. Whatever it emits comes last: a slot may delete the source.
void KopaPositionSource::handle(Origin origin, std::uint64_t generation,
                                const kopa::Result<KopaPosition>& result) {
    switch (origin) {
        case Origin::Request:
            if (generation != requestGeneration_) {
                return;
            }
            requestInFlight_ = false;
            break;
        case Origin::Updates:
            if (generation != updatesGeneration_ || !updatesActive_) {
                return;
            }
            break;
        case Origin::LastKnown:
            // Only a first value for lastKnownPosition(): never newer than one delivered.
            if (result.ok() && !lastKnown_.isValid()) {
                remember(result.value(), toGeoPositionInfo(result.value()));
            } else if (!result.ok()) {
                qCDebug(lcPositioningKopa)
                    << "no last known position:" << result.error().describe().c_str();
            }
            return;
    }
    if (!result.ok()) {
        fail(result.error());
        return;
    }
    const QGeoPositionInfo info = toGeoPositionInfo(result.value());
    remember(result.value(), info);
    Q_EMIT positionUpdated(info);
}

void KopaPositionSource::remember(const KopaPosition& position, const QGeoPositionInfo& info) {
    lastKnown_ = info;
    if (position.method() == KopaPositionMethod::Gnss) {
        lastKnownFromSatellites_ = info;
    }
}

void KopaPositionSource::fail(const kopa::Error& error) {
    lastError_ = error;
    error_ = toSourceError(error);
    qCWarning(lcPositioningKopa) << error.describe().c_str();
    Q_EMIT errorOccurred(error_);
}

void KopaPositionSource::askForLastKnownPositionOnce() {
    if (lastKnownAsked_) {
        return;
    }
    lastKnownAsked_ = true;
    lastKnownRequest_ = client_->lastKnownPositionAsync(parameters_.requestOptions(),
                                                        callbackFor(Origin::LastKnown, 0));
}

// Starts, or starts again with the current interval and options.
void KopaPositionSource::subscribe() {
    kopa::SubscriptionOptions options;
    const int interval = updateInterval() > 0 ? updateInterval() : minimumUpdateInterval();
    options.interval = std::chrono::milliseconds(interval);
    options.request = parameters_.requestOptions();
    updates_.cancel();
    updates_ = client_->subscribe(options, callbackFor(Origin::Updates, ++updatesGeneration_));
}
