#ifndef KOPA_BRIDGE_BRIDGE_H
#define KOPA_BRIDGE_BRIDGE_H

#include <glib.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Connection.h"
#include "Fix.h"
#include "GpsdReports.h"
#include "KopaClient.h"
#include "Listener.h"
#include "PseudoTerminal.h"
#include "RequestParser.h"

namespace bridge {

struct BridgeOptions {
    std::string listen = "127.0.0.1:2947";
    /// A port of NMEA alone; empty for none.
    std::string nmeaListen;
    /// The link to a pseudo-terminal carrying NMEA; empty for none.
    std::string ptyLink;
    std::chrono::milliseconds interval{1000};
    std::chrono::milliseconds timeout{10000};
    std::size_t maxClients = 32;
    std::size_t maxRequestBytes = 1024;
    std::size_t backlogBytes = 65536;
};

/// Serves the service's positions to gpsd's clients and to NMEA readers, all on the default
/// main context, which the program runs (declared with kopa::ApplicationLoop). One
/// subscription runs while anyone watches, and each position is formatted once for everyone.
class Bridge {
  public:
    explicit Bridge(BridgeOptions options);
    ~Bridge();
    Bridge(const Bridge&) = delete;
    Bridge& operator=(const Bridge&) = delete;

    /// Opens the ports and the pseudo-terminal; false with `error` set when one cannot be.
    bool start(std::string& error);
    int gpsdPort() const { return gpsd_.port(); }
    int nmeaPort() const { return nmea_.port(); }

  private:
    struct Peer {
        std::unique_ptr<Connection> connection;
        WatchPolicy policy;
        bool nmeaOnly = false;
    };

    void accept(int fd, bool nmeaOnly);
    void onInput(Connection& connection, std::string& input);
    void handle(Peer& peer, const Request& request);
    void watch(Peer& peer, const Request& request);
    void onClosed(Connection& connection);
    bool watching(const Peer& peer) const;
    void updateSubscription();
    void onPosition(const kopa::Result<KopaPosition>& answer);
    static gboolean reap(gpointer self);

    BridgeOptions options_;
    kopa::Client client_;
    kopa::Subscription subscription_;
    Listener gpsd_;
    Listener nmea_;
    PseudoTerminal pty_;
    std::unique_ptr<Connection> ptyConnection_;
    std::map<Connection*, Peer> peers_;
    // Closed connections live on until the loop is back outside their callbacks.
    std::vector<std::unique_ptr<Connection>> closed_;
    guint reaper_ = 0;
    Fix last_;
    std::int64_t activatedMs_ = -1;
    std::string lastFailure_;
};

}  // namespace bridge

#endif
