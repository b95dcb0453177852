// With no service on the bus, or no bus at all: the source reports ClosedError and keeps the
// cause readable. KOPA_EXPECT_CAUSE names the situation the test runs in.
#include <KopaFailureCause.h>

#include <QGeoPositionInfoSource>
#include <QSignalSpy>
#include <QTest>
#include <memory>

class KopaSourceClosedTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void aMissingServiceOrBusIsClosedError() {
        const QString expected = qEnvironmentVariable("KOPA_EXPECT_CAUSE");
        const int kind =
            expected == QStringLiteral("no-bus") ? KOPA_FAILURE_NO_BUS : KOPA_FAILURE_NO_SERVICE;
        std::unique_ptr<QGeoPositionInfoSource> source(
            QGeoPositionInfoSource::createSource(QStringLiteral("kopa"), {}, nullptr));
        QSignalSpy failed(source.get(), &QGeoPositionInfoSource::errorOccurred);
        source->startUpdates();
        QVERIFY(failed.wait(10000));
        QCOMPARE(source->error(), QGeoPositionInfoSource::ClosedError);
        const QVariantMap lastError =
            source->backendProperty(QStringLiteral("kopa.lastError")).toMap();
        QCOMPARE(lastError.value(QStringLiteral("causeKind")).toInt(), kind);
        QCOMPARE(lastError.value(QStringLiteral("code")).toInt(), KOPA_ERROR_GENERAL);
    }
};

QTEST_GUILESS_MAIN(KopaSourceClosedTest)
#include "KopaSourceClosedTest.moc"
