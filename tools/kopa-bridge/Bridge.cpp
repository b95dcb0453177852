#include "Bridge.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "NmeaSentences.h"

namespace bridge {
namespace {

bool isText(const std::string& input) {
    for (unsigned char c : input) {
        if ((c < 0x20 && c != '\r' && c != '\n' && c != '\t') || c >= 0x7f) {
            return false;
        }
    }
    return true;
}

}  // namespace

Bridge::Bridge(BridgeOptions options) : options_(std::move(options)) {}

Bridge::~Bridge() {
    subscription_.cancel();
    if (reaper_ != 0) {
        g_source_remove(reaper_);
    }
}

bool Bridge::start(std::string& error) {
    if (!gpsd_.listen(
            options_.listen, [this](int fd) { accept(fd, false); }, error)) {
        return false;
    }
    if (!options_.nmeaListen.empty() &&
        !nmea_.listen(
            options_.nmeaListen, [this](int fd) { accept(fd, true); }, error)) {
        return false;
    }
    if (!options_.ptyLink.empty()) {
        if (!pty_.open(options_.ptyLink, error)) {
            return false;
        }
        // A terminal has no reader to wait for: what nobody reads is cut like any backlog.
        ptyConnection_ = std::make_unique<Connection>(
            pty_.takeMaster(), options_.backlogBytes,
            [](Connection&, std::string& input) { input.clear(); },
            [this](Connection&) {
                std::cerr << "kopa-bridge: the pseudo-terminal failed" << std::endl;
                updateSubscription();
            });
        updateSubscription();
    }
    return true;
}

void Bridge::accept(int fd, bool nmeaOnly) {
    if (peers_.size() >= options_.maxClients) {
        // Best effort, on a socket whose buffer is still empty; an NMEA reader gets no JSON.
        std::string refusal = errorReport("too many clients");
        if (!nmeaOnly) {
            ssize_t ignored = ::write(fd, refusal.data(), refusal.size());
            static_cast<void>(ignored);
        }
        ::close(fd);
        return;
    }
    auto connection = std::make_unique<Connection>(
        fd, options_.backlogBytes, [this](Connection& c, std::string& input) { onInput(c, input); },
        [this](Connection& c) { onClosed(c); });
    Connection* key = connection.get();
    Peer& peer = peers_[key];
    peer.connection = std::move(connection);
    peer.nmeaOnly = nmeaOnly;
    if (nmeaOnly) {
        updateSubscription();
    } else {
        key->send(versionReport());
    }
}

void Bridge::onInput(Connection& connection, std::string& input) {
    auto found = peers_.find(&connection);
    if (found == peers_.end() || found->second.nmeaOnly) {
        input.clear();
        return;
    }
    if (!isText(input)) {
        connection.send(errorReport("binary input"));
        connection.closeAfterSending();
        return;
    }
    Request request;
    std::size_t used;
    while (connection.open() && (used = readRequest(input, request)) > 0) {
        input.erase(0, used);
        if (!request.error.empty()) {
            connection.send(errorReport(request.error));
        } else {
            handle(found->second, request);
        }
    }
    if (input.find_first_not_of(" \t\r\n;") == std::string::npos) {
        input.clear();
    } else if (input.size() > options_.maxRequestBytes && connection.open()) {
        connection.send(errorReport("request longer than " +
                                    std::to_string(options_.maxRequestBytes) + " bytes"));
        connection.closeAfterSending();
    }
}

void Bridge::handle(Peer& peer, const Request& request) {
    Connection& connection = *peer.connection;
    if (request.name == "VERSION") {
        connection.send(versionReport());
    } else if (request.name == "DEVICES") {
        connection.send(devicesReport(activatedMs_));
    } else if (request.name == "WATCH") {
        watch(peer, request);
    } else if (request.name == "POLL") {
        connection.send(pollReport(nowMs(), subscription_.active(), last_));
    } else {
        connection.send(errorReport("Unrecognized request '" + request.name + "'"));
    }
}

void Bridge::watch(Peer& peer, const Request& request) {
    // A send may close the connection, and its peer with it: only the connection lives on.
    Connection& connection = *peer.connection;
    WatchPolicy policy = peer.policy;
    for (const auto& [name, value] : request.members) {
        bool* flag = name == "enable" ? &policy.enable
                     : name == "json" ? &policy.json
                     : name == "nmea" ? &policy.nmea
                                      : nullptr;
        if (flag != nullptr && value.type != JsonValue::Type::Boolean) {
            connection.send(errorReport("'" + name + "' wants true or false"));
            return;
        }
        if (flag != nullptr) {
            *flag = value.boolean;
        } else if (name == "raw" && value.type == JsonValue::Type::Number) {
            // Our device's raw data is the NMEA we make.
            policy.nmea = policy.nmea || value.number >= 1;
        }
    }
    if (request.hasArgument && request.members.count("enable") == 0) {
        policy.enable = true;
    }
    if (policy.enable && !policy.json && !policy.nmea) {
        policy.json = true;  // watching without a stream would show nothing
    }
    if (!policy.enable) {
        policy.json = policy.nmea = false;
    }
    peer.policy = policy;
    updateSubscription();
    connection.send(devicesReport(activatedMs_));
    connection.send(watchReport(policy));
}

bool Bridge::watching(const Peer& peer) const {
    return peer.nmeaOnly || (peer.policy.enable && (peer.policy.json || peer.policy.nmea));
}

void Bridge::updateSubscription() {
    bool wanted = ptyConnection_ && ptyConnection_->open();
    for (const auto& entry : peers_) {
        wanted = wanted || watching(entry.second);
    }
    if (wanted && !subscription_.active()) {
        kopa::SubscriptionOptions subscription;
        subscription.interval = options_.interval;
        subscription.request.timeout = options_.timeout;
        activatedMs_ = nowMs();
        subscription_ =
            client_.subscribe(subscription, [this](const kopa::Result<KopaPosition>& answer) {
                // Nothing may leave a callback of the client by an exception.
                try {
                    onPosition(answer);
                } catch (const std::exception& error) {
                    std::cerr << "kopa-bridge: " << error.what() << std::endl;
                }
            });
    } else if (!wanted && subscription_.active()) {
        subscription_.cancel();
        activatedMs_ = -1;
    }
}

void Bridge::onPosition(const kopa::Result<KopaPosition>& answer) {
    std::int64_t now = nowMs();
    if (answer) {
        last_ = Fix::fromPosition(answer.value(), now);
        lastFailure_.clear();
    } else {
        last_ = Fix::noFix(now);
        // Said once per run of failures, not once a second.
        std::string failure = answer.error().describe();
        if (failure != lastFailure_) {
            std::cerr << "kopa-bridge: no position: " << failure << std::endl;
            lastFailure_ = failure;
        }
    }
    std::string tpv, nmea;
    std::vector<std::pair<Connection*, WatchPolicy>> targets;
    for (auto& [connection, peer] : peers_) {
        if (watching(peer)) {
            WatchPolicy policy = peer.policy;
            policy.nmea = policy.nmea || peer.nmeaOnly;
            targets.emplace_back(connection, policy);
        }
    }
    if (ptyConnection_ && ptyConnection_->open()) {
        targets.emplace_back(ptyConnection_.get(), WatchPolicy{true, false, true});
    }
    // A send may close its connection, which leaves peers_ but lives on until reaped.
    for (auto& [connection, policy] : targets) {
        if (policy.json) {
            if (tpv.empty()) {
                tpv = tpvReport(last_);
            }
            connection->send(tpv);
        }
        if (policy.nmea) {
            if (nmea.empty()) {
                nmea = nmeaSentences(last_);
            }
            connection->send(nmea);
        }
    }
}

void Bridge::onClosed(Connection& connection) {
    auto found = peers_.find(&connection);
    if (found == peers_.end()) {
        return;
    }
    closed_.push_back(std::move(found->second.connection));
    peers_.erase(found);
    if (reaper_ == 0) {
        reaper_ = g_idle_add(&Bridge::reap, this);
    }
    updateSubscription();
}

gboolean Bridge::reap(gpointer data) {
    auto* self = static_cast<Bridge*>(data);
    self->closed_.clear();
    self->reaper_ = 0;
    return G_SOURCE_REMOVE;
}

}  // namespace bridge
