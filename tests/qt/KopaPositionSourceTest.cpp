// The plugin through Qt Positioning's own API, loaded by name from QT_PLUGIN_PATH, against
// kopad-sim on a private bus.
#include <KopaPositioning.h>

#include <QAbstractEventDispatcher>
#include <QGeoPositionInfoSource>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>

#include "SimControl.h"

using Source = QGeoPositionInfoSource;

namespace {

std::unique_ptr<Source> createKopaSource(const QVariantMap& parameters = {}) {
    return std::unique_ptr<Source>(
        Source::createSource(QStringLiteral("kopa"), parameters, nullptr));
}

// The first request of `member` the service received (serial 0 if none).
LoggedRequest requestOf(SimControl& sim, const std::string& member) {
    for (LoggedRequest& request : sim.requests()) {
        if (request.member == member) {
            return request;
        }
    }
    return {member, 0, {}, {}, {}, {}};
}

bool cancelled(SimControl& sim, uint32_t serial) {
    for (const LoggedCancel& cancel : sim.cancels()) {
        if (std::count(cancel.serials.begin(), cancel.serials.end(), serial) > 0) {
            return true;
        }
    }
    return false;
}

// A journey due north-east at 100 m/s: a position every update differs from the one before.
const char* const kFastJourney =
    "<?xml version='1.0'?>"
    "<gpx version='1.1' xmlns='http://www.topografix.com/GPX/1/1'><trk><trkseg>"
    "<trkpt lat='60.0000' lon='24.0000'><time>2025-06-02T09:00:00Z</time></trkpt>"
    "<trkpt lat='60.0064' lon='24.0128'><time>2025-06-02T09:00:10Z</time></trkpt>"
    "</trkseg></trk></gpx>";

}  // namespace

class KopaPositionSourceTest : public QObject {
    Q_OBJECT

  private:
    SimControl sim;

  private Q_SLOTS:
    // With QT_NO_GLIB=1 Qt's own dispatcher runs the event loop and nothing runs GLib's: the
    // plugin has to drive it itself.
    void initTestCase() {
        const bool glib = QAbstractEventDispatcher::instance()->inherits("QEventDispatcherGlib");
        QCOMPARE(glib, !qEnvironmentVariableIsSet("QT_NO_GLIB"));
    }
    void init() { sim.reset(); }

    void oneUpdateCarriesThePositionAndItsAttributes() {
        sim.loadScenario(
            "position 60.1699 24.9384 12\naltitude 25.5\nvertical-accuracy 8\nspeed 1.5\n"
            "heading 270\nmethod gnss\ntimestamp 1700000000123\n");
        auto source = createKopaSource();
        QCOMPARE(source->sourceName(), QStringLiteral("kopa"));
        QSignalSpy updated(source.get(), &Source::positionUpdated);
        source->requestUpdate();
        QVERIFY(updated.wait(10000));
        const auto info = updated.first().first().value<QGeoPositionInfo>();
        QVERIFY(info.isValid());
        QCOMPARE(info.coordinate().latitude(), 60.1699);
        QCOMPARE(info.coordinate().longitude(), 24.9384);
        QCOMPARE(info.coordinate().altitude(), 25.5);
        QCOMPARE(info.timestamp(), QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC));
        QCOMPARE(info.timestamp().timeSpec(), Qt::UTC);
        QCOMPARE(info.attribute(QGeoPositionInfo::HorizontalAccuracy), 12.0);
        QCOMPARE(info.attribute(QGeoPositionInfo::VerticalAccuracy), 8.0);
        QCOMPARE(info.attribute(QGeoPositionInfo::GroundSpeed), 1.5);
        QCOMPARE(info.attribute(QGeoPositionInfo::Direction), 270.0);
        QCOMPARE(source->error(), Source::NoError);
        // lastKnownPosition() answers at once from what was delivered.
        QCOMPARE(source->lastKnownPosition(), info);
        QCOMPARE(source->lastKnownPosition(true), info);
    }

    void regularUpdatesFollowAReplayedJourney() {
        sim.loadTrack(kFastJourney);
        auto source = createKopaSource();
        source->setUpdateInterval(1);
        QCOMPARE(source->updateInterval(), source->minimumUpdateInterval());
        source->setUpdateInterval(150);
        QCOMPARE(source->updateInterval(), 150);
        QSignalSpy updated(source.get(), &Source::positionUpdated);
        source->startUpdates();
        QTRY_VERIFY_WITH_TIMEOUT(updated.count() >= 3, 10000);
        source->stopUpdates();
        QGeoCoordinate previous;
        for (const QList<QVariant>& arguments : updated) {
            const auto info = arguments.first().value<QGeoPositionInfo>();
            QVERIFY(info.attribute(QGeoPositionInfo::GroundSpeed) > 50.0);
            QVERIFY(qAbs(info.attribute(QGeoPositionInfo::Direction) - 45.0) < 15.0);
            // The journey has no elevations, and a replay no vertical accuracy.
            QVERIFY(std::isnan(info.coordinate().altitude()));
            QVERIFY(!info.hasAttribute(QGeoPositionInfo::VerticalAccuracy));
            QVERIFY(info.coordinate() != previous);
            previous = info.coordinate();
        }
    }

    void aSourceOnAnotherThreadSignalsOnThatThread() {
        QThread worker;
        worker.start();
        QObject context;
        context.moveToThread(&worker);
        std::unique_ptr<Source> source;
        std::atomic<QThread*> deliveredOn{nullptr};
        QMetaObject::invokeMethod(
            &context,
            [&] {
                source = createKopaSource();
                connect(source.get(), &Source::positionUpdated,
                        [&] { deliveredOn = QThread::currentThread(); });
                source->requestUpdate();
            },
            Qt::BlockingQueuedConnection);
        QTRY_VERIFY_WITH_TIMEOUT(deliveredOn != nullptr, 10000);
        QCOMPARE(deliveredOn.load(), &worker);
        QMetaObject::invokeMethod(
            &context, [&] { source.reset(); }, Qt::BlockingQueuedConnection);
        worker.quit();
        worker.wait();
    }

    void failuresBecomeQtErrorsWithTheCodeStillReadable_data() {
        QTest::addColumn<QString>("outcome");
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("code");
        QTest::newRow("refused caller")
            << "error 42" << int(Source::AccessError) << KOPA_ERROR_NOT_AUTHORIZED;
        QTest::newRow("not positioned")
            << "error 54" << int(Source::UnknownSourceError) << KOPA_ERROR_NOT_POSITIONED;
        QTest::newRow("time-out") << "noreply" << int(Source::UpdateTimeoutError)
                                  << KOPA_ERROR_NO_REPLY;
    }
    void failuresBecomeQtErrorsWithTheCodeStillReadable() {
        QFETCH(QString, outcome);
        QFETCH(int, error);
        QFETCH(int, code);
        sim.pushOutcomes("currentPosition", {outcome.toStdString()});
        // The default time-out ends the request that gets no answer.
        auto source = createKopaSource({{QStringLiteral("kopa.timeout"), 300}});
        QSignalSpy failed(source.get(), &Source::errorOccurred);
        QSignalSpy updated(source.get(), &Source::positionUpdated);
        source->requestUpdate();
        QVERIFY(failed.wait(10000));
        QCOMPARE(failed.first().first().value<Source::Error>(), Source::Error(error));
        QCOMPARE(source->error(), Source::Error(error));
        const QVariantMap lastError =
            source->backendProperty(QStringLiteral("kopa.lastError")).toMap();
        QCOMPARE(lastError.value(QStringLiteral("code")).toInt(), code);
        QVERIFY(
            lastError.value(QStringLiteral("name")).toString().startsWith(QStringLiteral("KOPA_")));
        QCOMPARE(updated.count(), 0);
        // Qt 6 resets the error when a new request starts.
        source->requestUpdate();
        QCOMPARE(source->error(), Source::NoError);
    }

    void aRequestTimeOutBelowTheMinimumIntervalFailsAtOnce() {
        auto source = createKopaSource();
        QSignalSpy failed(source.get(), &Source::errorOccurred);
        source->requestUpdate(source->minimumUpdateInterval() - 1);
        QCOMPARE(failed.count(), 0);  // queued, never from inside the call
        QVERIFY(failed.wait(5000));
        QCOMPARE(source->error(), Source::UpdateTimeoutError);
        QCOMPARE(sim.requests().size(), size_t(0));
    }

    void parametersReachTheService() {
        auto source = createKopaSource({{QStringLiteral("kopa.requestParameter"), 7},
                                        {QStringLiteral("kopa.packetData"), false},
                                        {QStringLiteral("kopa.timeout"), QStringLiteral("oops")}});
        QCOMPARE(source->backendProperty(QStringLiteral("kopa.requestParameter")).toUInt(), 7u);
        QCOMPARE(source->backendProperty(QStringLiteral("kopa.packetData")).toBool(), false);
        QCOMPARE(source->backendProperty(QStringLiteral("kopa.timeout")).toInt(), 30000);
        QSignalSpy updated(source.get(), &Source::positionUpdated);
        source->requestUpdate();
        QVERIFY(updated.wait(10000));
        const LoggedRequest current = requestOf(sim, "currentPosition");
        QCOMPARE(current.numbers.at(0), 7LL);  // request parameter
        QCOMPARE(current.numbers.at(1), 0LL);  // packet data not allowed

        QVERIFY(source->setBackendProperty(QStringLiteral("kopa.requestParameter"), 4294967295u));
        QVERIFY(
            source->setBackendProperty(QStringLiteral("kopa.packetData"), QStringLiteral("true")));
        QVERIFY(!source->setBackendProperty(QStringLiteral("kopa.requestParameter"), -1));
        QVERIFY(!source->setBackendProperty(QStringLiteral("kopa.timeout"), 0));
        QVERIFY(!source->setBackendProperty(QStringLiteral("kopa.packetData"),
                                            QStringLiteral("maybe")));
        QVERIFY(!source->setBackendProperty(QStringLiteral("kopa.noSuchThing"), 1));
        sim.reset();
        source->requestUpdate();
        QVERIFY(updated.wait(10000));
        QCOMPARE(requestOf(sim, "currentPosition").numbers.at(0), 4294967295LL);
        QCOMPARE(requestOf(sim, "currentPosition").numbers.at(1), 1LL);
    }

    void stopUpdatesCancelsTheOutstandingRequest() {
        sim.pushOutcomes("currentPosition", {"delay 5000 reply"});
        auto source = createKopaSource();
        QSignalSpy updated(source.get(), &Source::positionUpdated);
        source->startUpdates();
        QVERIFY(sim.waitForRequests(2));
        source->stopUpdates();
        QVERIFY(sim.waitForCancels(1));
        QVERIFY(cancelled(sim, requestOf(sim, "currentPosition").serial));
        QCOMPARE(updated.count(), 0);
    }

    void destroyingTheSourceCancelsWhatIsOutstanding() {
        sim.pushOutcomes("currentPosition", {"delay 5000 reply"});
        sim.pushOutcomes("lastKnownPosition", {"delay 5000 reply"});
        auto source = createKopaSource();
        source->requestUpdate();
        QVERIFY(sim.waitForRequests(2));
        source.reset();
        QVERIFY(sim.waitForCancels(1));
        QTRY_VERIFY(cancelled(sim, requestOf(sim, "currentPosition").serial));
        QTRY_VERIFY(cancelled(sim, requestOf(sim, "lastKnownPosition").serial));
    }

    void aSourceDeletedFromItsOwnSlotCancelsTheRest() {
        sim.pushOutcomes("lastKnownPosition", {"delay 5000 reply"});
        QPointer<Source> source = Source::createSource(QStringLiteral("kopa"), {}, nullptr);
        QVERIFY(source);
        connect(source, &Source::positionUpdated, source, [&source] { delete source.data(); });
        source->requestUpdate();
        QTRY_VERIFY_WITH_TIMEOUT(source.isNull(), 10000);
        QVERIFY(sim.waitForCancels(1));
        QVERIFY(cancelled(sim, requestOf(sim, "lastKnownPosition").serial));
    }
};

QTEST_GUILESS_MAIN(KopaPositionSourceTest)
#include "KopaPositionSourceTest.moc"
