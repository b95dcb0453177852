#ifndef KOPA_POSITION_SOURCE_H
#define KOPA_POSITION_SOURCE_H

#include <KopaPosition.h>

#include <QGeoPositionInfo>
#include <QGeoPositionInfoSource>
#include <cstdint>
#include <memory>
#include <optional>

#include "KopaClient.h"
#include "SourceParameters.h"

class DefaultContextDriver;

// Positions from the positioning service through kopa::Client.
//
// The client's callbacks run where GLib's default main context runs: on the source's own
// thread they are handled at once; from any other thread (the plugin's own loop thread, or the
// main thread for a source that lives elsewhere) they are queued to the source's thread. Each
// callback carries the generation of the request it answers, so a result that was already
// queued when its request was stopped or replaced is dropped.
//
// Destroying the source destroys its request handles and its client first, which cancels
// whatever is outstanding (the service is sent the cancel) and, from another thread, waits
// for a running callback.
class KopaPositionSource : public QGeoPositionInfoSource {
    Q_OBJECT

  public:
    KopaPositionSource(const QVariantMap& parameters, QObject* parent);
    ~KopaPositionSource() override;

    void setUpdateInterval(int msec) override;
    QGeoPositionInfo lastKnownPosition(
        bool fromSatellitePositioningMethodsOnly = false) const override;
    PositioningMethods supportedPositioningMethods() const override;
    int minimumUpdateInterval() const override;
    Error error() const override;
    bool setBackendProperty(const QString& name, const QVariant& value) override;
    QVariant backendProperty(const QString& name) const override;

  public Q_SLOTS:
    void startUpdates() override;
    void stopUpdates() override;
    void requestUpdate(int timeout = 0) override;

  private:
    enum class Origin { Request, Updates, LastKnown };

    kopa::PositionCallback callbackFor(Origin origin, std::uint64_t generation);
    void handle(Origin origin, std::uint64_t generation, const kopa::Result<KopaPosition>& result);
    void remember(const KopaPosition& position, const QGeoPositionInfo& info);
    void fail(const kopa::Error& error);
    void askForLastKnownPositionOnce();
    void subscribe();

    // Destroyed last: the loop thread outlives the client and every handle.
    std::unique_ptr<DefaultContextDriver> driver_;
    std::unique_ptr<kopa::Client> client_;
    kopa::Request request_;
    kopa::Subscription updates_;
    kopa::Request lastKnownRequest_;

    SourceParameters parameters_;
    Error error_ = NoError;
    std::optional<kopa::Error> lastError_;
    QGeoPositionInfo lastKnown_;
    QGeoPositionInfo lastKnownFromSatellites_;
    bool requestInFlight_ = false;
    bool updatesActive_ = false;
    bool lastKnownAsked_ = false;
    std::uint64_t requestGeneration_ = 0;
    std::uint64_t updatesGeneration_ = 0;
};

#endif
