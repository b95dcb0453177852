// CPU per position for a Qt program: the plugin's requestUpdate against what it is built on,
// kopa::Client and the library's own asynchronous request, and raw libdbus, in one run, one
// request outstanding at a time, all driven by the same Qt event loop (GLib's default main
// context underneath). Prints its figures; asserts nothing.
#include <dbus/dbus.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QGeoPositionInfoSource>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "KopaClient.h"
#include "Requests.h"

namespace {

using bench::Cost;
using bench::Records;
using bench::Request;
using bench::Stopwatch;

constexpr int kTimeoutSeconds = 60;

// One way of getting a position: start() issues a request; the contender calls done() from
// its completion, which issues the next one until the round's count is reached.
class Contender {
  public:
    virtual ~Contender() = default;
    virtual const char* name() const = 0;
    virtual void start() = 0;

    Cost run(int count) {
        remaining_ = count;
        failures_ = 0;
        QEventLoop loop;
        loop_ = &loop;
        Stopwatch watch;
        start();
        loop.exec();
        loop_ = nullptr;
        return watch.elapsed();
    }
    int failures() const { return failures_; }

  protected:
    void done(bool ok) {
        if (!ok) {
            ++failures_;
        }
        if (--remaining_ > 0) {
            start();
        } else {
            loop_->quit();
        }
    }

  private:
    int remaining_ = 0;
    int failures_ = 0;
    QEventLoop* loop_ = nullptr;
};

class RawLibdbus : public Contender {
  public:
    RawLibdbus() : connection_(bench::openRawConnection(true)) {}
    ~RawLibdbus() override {
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
    }
    const char* name() const override { return "raw libdbus"; }
    void start() override {
        DBusMessage* call = bench::newRawCall(Request::CurrentPosition, records_);
        DBusPendingCall* pending = nullptr;
        const bool sent =
            dbus_connection_send_with_reply(connection_, call, &pending, kTimeoutSeconds * 1000) &&
            pending != nullptr;
        dbus_message_unref(call);
        if (!sent) {
            std::fprintf(stderr, "kopa-qt-bench: raw libdbus could not send\n");
            std::exit(1);
        }
        dbus_pending_call_set_notify(pending, notify, this, nullptr);
        dbus_connection_flush(connection_);
    }

  private:
    static void notify(DBusPendingCall* pending, void* data) {
        auto* self = static_cast<RawLibdbus*>(data);
        DBusMessage* reply = dbus_pending_call_steal_reply(pending);
        bool ok = false;
        if (reply != nullptr) {
            const char* text = nullptr;
            ok =
                dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_METHOD_RETURN &&
                dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) &&
                bench::readAnswer(Request::CurrentPosition, text, self->records_);
            dbus_message_unref(reply);
        }
        dbus_pending_call_unref(pending);
        self->done(ok);
    }

    DBusConnection* connection_;
    Records records_;
};

// The library refuses a second request of a kind while the observer of the first runs, so
// two objects take turns: each issues the next request from the other's completion.
class Library : public Contender, private KopaObserver {
  public:
    const char* name() const override { return "libkopapositioning async"; }
    void start() override {
        turn_ = 1 - turn_;
        if (bench::libraryAsync(Request::CurrentPosition, positioning_[turn_], records_) !=
            KOPA_OK) {
            std::fprintf(stderr, "kopa-qt-bench: the library refused a request\n");
            std::exit(1);
        }
    }

  private:
    void requestCompleted(int result, KopaRequestType) override { done(result == KOPA_OK); }

    KopaPositioning positioning_[2] = {KopaPositioning(this), KopaPositioning(this)};
    Records records_;
    int turn_ = 0;
};

class Client : public Contender {
  public:
    Client() { options_.timeout = std::chrono::seconds(kTimeoutSeconds); }
    const char* name() const override { return "kopa::Client async"; }
    void start() override {
        request_ = client_.currentPositionAsync(
            options_, [this](const kopa::Result<KopaPosition>& result) { done(result.ok()); });
    }

  private:
    kopa::Client client_;
    kopa::RequestOptions options_;
    kopa::Request request_;
};

class Plugin : public Contender {
  public:
    Plugin() {
        const QVariantMap parameters{{QStringLiteral("kopa.timeout"), kTimeoutSeconds * 1000}};
        source_.reset(
            QGeoPositionInfoSource::createSource(QStringLiteral("kopa"), parameters, nullptr));
        if (!source_) {
            std::fprintf(stderr, "kopa-qt-bench: no Qt position plugin \"kopa\"\n");
            std::exit(1);
        }
        QObject::connect(source_.get(), &QGeoPositionInfoSource::positionUpdated,
                         [this](const QGeoPositionInfo& info) { done(info.isValid()); });
        QObject::connect(source_.get(), &QGeoPositionInfoSource::errorOccurred,
                         [this](QGeoPositionInfoSource::Error) { done(false); });
    }
    const char* name() const override { return "Qt plugin requestUpdate"; }
    void start() override { source_->requestUpdate(); }

  private:
    std::unique_ptr<QGeoPositionInfoSource> source_;
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication::addLibraryPath(QStringLiteral(KOPA_QT_BUILD_PLUGIN_DIR));
    QCoreApplication app(argc, argv);
    const std::string mode = argc > 1 ? argv[1] : "";
    const int rounds = 4;
    const int perRound = mode == "--quick" ? 250 : 1000;

    RawLibdbus raw;
    Library library;
    Client client;
    Plugin plugin;
    std::vector<Contender*> contenders = {&raw, &library, &client, &plugin};
    std::vector<Cost> totals(contenders.size());
    std::vector<int> failures(contenders.size(), 0);

    for (Contender* contender : contenders) {
        contender->run(100);  // warm-up: connections, the plugin's first last-known request
    }
    // --profile N COUNT: contender N alone (0 raw, 1 library, 2 client, 3 plugin), for a
    // profiler such as callgrind.
    if (mode == "--profile" && argc > 3) {
        const std::size_t which = std::strtoul(argv[2], nullptr, 10);
        if (which < contenders.size()) {
            contenders[which]->run(std::atoi(argv[3]));
            return 0;
        }
    }
    // Interleaved rounds, so that a change of load hits every contender alike.
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            totals[i] += contenders[i]->run(perRound);
            failures[i] += contenders[i]->failures();
        }
    }

    const int count = rounds * perRound;
    const double rawCpu = totals[0].per(count).cpu;
    const double libraryCpu = totals[1].per(count).cpu;
    std::printf(
        "Qt plugin: currentPosition one at a time, %d per contender (client CPU and wall "
        "time, microseconds per position)\n\n",
        count);
    std::printf("  %-26s %8s %8s %8s %8s %5s\n", "contender", "CPU", "wall", "CPU/raw", "CPU/lib",
                "fail");
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        const Cost cost = totals[i].per(count);
        std::printf("  %-26s %8.1f %8.1f %8.2f %8.2f %5d\n", contenders[i]->name(), cost.cpu,
                    cost.wall, cost.cpu / rawCpu, cost.cpu / libraryCpu, failures[i]);
    }
    return 0;
}
