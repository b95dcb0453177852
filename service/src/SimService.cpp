#include "SimService.h"

#include "KopadInterfaceXml.h"
#include "OwnAnswers.h"

const char* const kServiceName = "com.ruvex.location.kopad";
const char* const kServicePath = "/com/ruvex/location/kopad";
const char* const kServiceInterface = "com.ruvex.location.kopad";
const char* const kControlInterface = "com.ruvex.location.kopad.Simulator";

namespace {

const char* kindName(Outcome::Kind kind) {
    switch (kind) {
        case Outcome::Kind::Own:
        case Outcome::Kind::Text:
            return "reply";
        case Outcome::Kind::ServiceError:
        case Outcome::Kind::DbusError:
            return "error";
        case Outcome::Kind::NoReply:
            return "noreply";
        case Outcome::Kind::NoArg:
            return "noarg";
        case Outcome::Kind::Int32:
            return "int32";
        case Outcome::Kind::Extra:
            return "extra";
    }
    return "?";
}

std::string printed(GVariant* value) {
    gchar* text = g_variant_print(value, TRUE);
    std::string result = text;
    g_free(text);
    return result;
}

}  // namespace

SimService::SimService(GDBusConnection* connection, const Scenario& scenario, EventLog& log,
                       const TrackSettings& trackSettings)
    : connection_(G_DBUS_CONNECTION(g_object_ref(connection))),
      log_(log),
      scenario_(scenario),
      trackSettings_(trackSettings) {
    reset();
}

SimService::~SimService() {
    stop();
    for (Request& request : requests_) {
        g_variant_unref(request.args);
    }
    g_object_unref(connection_);
}

bool SimService::start(std::string& why) {
    GError* error = nullptr;
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kIntrospectionXml, &error);
    if (node == nullptr) {
        why = error->message;
        g_error_free(error);
        return false;
    }
    static const GDBusInterfaceVTable vtable = {onMethodCall, nullptr, nullptr, {}};
    // Both interfaces share one object path, so the object is registered once per interface.
    for (GDBusInterfaceInfo** info = node->interfaces; *info != nullptr; ++info) {
        guint id = g_dbus_connection_register_object(connection_, kServicePath, *info, &vtable,
                                                     this, nullptr, &error);
        if (id == 0) {
            why = error->message;
            g_error_free(error);
            g_dbus_node_info_unref(node);
            return false;
        }
        registrations_.push_back(id);
    }
    g_dbus_node_info_unref(node);

    auto* data = new FilterData{g_main_context_ref(g_main_context_default()), this};
    filter_ = g_dbus_connection_add_filter(connection_, onMessage, data, [](gpointer p) {
        auto* filterData = static_cast<FilterData*>(p);
        g_main_context_unref(filterData->context);
        delete filterData;
    });
    return true;
}

void SimService::stop() {
    if (stopped_) {
        return;
    }
    stopped_ = true;
    if (filter_ != 0) {
        g_dbus_connection_remove_filter(connection_, filter_);
        filter_ = 0;
    }
    for (guint id : registrations_) {
        g_dbus_connection_unregister_object(connection_, id);
    }
    registrations_.clear();
    dropPendingCalls();
    for (auto& waiter : waiters_) {
        g_source_remove(waiter->timeout);
        g_object_unref(waiter->invocation);
    }
    waiters_.clear();
    for (auto& delayed : delayed_) {
        g_source_remove(delayed->source);
        g_object_unref(delayed->invocation);
    }
    delayed_.clear();
}

void SimService::onMethodCall(GDBusConnection*, const gchar*, const gchar*,
                              const gchar* interfaceName, const gchar* methodName,
                              GVariant* parameters, GDBusMethodInvocation* invocation,
                              gpointer self) {
    auto* service = static_cast<SimService*>(self);
    if (g_strcmp0(interfaceName, kControlInterface) == 0) {
        service->handleControl(invocation, methodName, parameters);
    } else {
        service->handleRequest(invocation, methodName, parameters);
    }
}

void SimService::handleRequest(GDBusMethodInvocation* invocation, const std::string& member,
                               GVariant* parameters) {
    GDBusMessage* message = g_dbus_method_invocation_get_message(invocation);
    Request request{member, g_dbus_message_get_serial(message),
                    g_dbus_message_get_sender(message) ? g_dbus_message_get_sender(message) : "",
                    g_variant_ref(parameters)};
    log_.write(JsonLine("request")
                   .add("member", member)
                   .add("serial", request.serial)
                   .add("sender", request.sender)
                   .add("args", printed(parameters)));
    requests_.push_back(std::move(request));
    checkWaiters();

    Outcome outcome = nextOutcome(member);
    if (outcome.delayMs == 0) {
        answer(invocation, member, outcome);
        return;
    }
    // The delay runs on the main loop, so other calls are answered meanwhile.
    auto delayed = std::make_unique<Delayed>(Delayed{this, invocation, member, outcome});
    delayed->source = g_timeout_add(outcome.delayMs, onDelayOver, delayed.get());
    delayed_.push_back(std::move(delayed));
}

gboolean SimService::onDelayOver(gpointer data) {
    auto* delayed = static_cast<Delayed*>(data);
    SimService* service = delayed->service;
    service->answer(delayed->invocation, delayed->member, delayed->outcome);
    service->delayed_.remove_if(
        [delayed](const std::unique_ptr<Delayed>& d) { return d.get() == delayed; });
    return G_SOURCE_REMOVE;
}

Outcome SimService::nextOutcome(const std::string& member) {
    std::deque<Outcome>& queue = queues_[member];
    if (queue.empty()) {
        return Outcome();
    }
    // The last outcome stays, so that it answers every request from then on.
    Outcome outcome = queue.front();
    if (queue.size() > 1) {
        queue.pop_front();
    }
    return outcome;
}

void SimService::startTrack() {
    if (!scenario_.track) {
        trackStartMs_ = -1;
        return;
    }
    trackStartMs_ = nowMilliseconds();
    log_.write(JsonLine("track")
                   .add("source", scenario_.trackSource)
                   .add("points", static_cast<unsigned long long>(scenario_.track->points().size()))
                   .add("durationMs", static_cast<long long>(scenario_.track->duration() * 1000))
                   .add("start", static_cast<long long>(trackStartMs_)));
}

Outcome SimService::ownAnswer(const std::string& member, GVariant* parameters) {
    // A moving device knows where it is now, whichever of the two it is asked.
    if ((member == "currentPosition" || member == "lastKnownPosition") && scenario_.track &&
        trackStartMs_ >= 0) {
        return ownTrackPosition(scenario_, trackSettings_, trackStartMs_);
    }
    if (member == "currentPosition") {
        return ownCurrentPosition(scenario_);
    }
    if (member == "currentMeasurements") {
        return ownCurrentMeasurements(scenario_);
    }
    if (member == "lastKnownPosition") {
        return ownLastKnownPosition(lastKnown_);
    }
    const gchar* text = nullptr;
    g_variant_get_child(parameters, 0, "&s", &text);
    return ownConversion(scenario_, text);
}

void SimService::rememberHandedOut(const std::string& member, const std::string& text) {
    if (member != "currentPosition" && member != "convertToPosition") {
        return;
    }
    KopaPosition position;
    if (position.internalize(text) == 0) {
        lastKnown_ = position;
    }
}

// Answers with a message of our own making rather than through the invocation's return
// functions: those check the reply against the introspection data, and the malformed replies
// must reach the client as they are.
void SimService::answer(GDBusMethodInvocation* invocation, const std::string& member,
                        const Outcome& scripted) {
    GDBusMessage* call = g_dbus_method_invocation_get_message(invocation);
    Outcome outcome = scripted;
    std::string source = scripted.source.empty() ? "reply" : scripted.source;
    if (outcome.kind == Outcome::Kind::Own ||
        (outcome.kind == Outcome::Kind::Extra && !outcome.hasText)) {
        Outcome own = ownAnswer(member, g_dbus_method_invocation_get_parameters(invocation));
        if (outcome.kind == Outcome::Kind::Own || own.kind != Outcome::Kind::Text) {
            outcome = own;
        } else {
            outcome.text = own.text;
        }
    }

    JsonLine event("answer");
    event.add("member", member)
        .add("serial", g_dbus_message_get_serial(call))
        .add("outcome", source)
        .add("kind", kindName(outcome.kind));

    GDBusMessage* reply = nullptr;
    switch (outcome.kind) {
        case Outcome::Kind::Own:  // resolved above
        case Outcome::Kind::Text:
            reply = g_dbus_message_new_method_reply(call);
            g_dbus_message_set_body(reply, g_variant_new("(s)", outcome.text.c_str()));
            event.add("text", outcome.text);
            rememberHandedOut(member, outcome.text);
            break;
        case Outcome::Kind::Extra:
            reply = g_dbus_message_new_method_reply(call);
            g_dbus_message_set_body(reply,
                                    g_variant_new("(sis)", outcome.text.c_str(), 7, "extra"));
            event.add("text", outcome.text);
            rememberHandedOut(member, outcome.text);
            break;
        case Outcome::Kind::ServiceError:
        case Outcome::Kind::DbusError:
            reply = g_dbus_message_new_method_error_literal(call, outcome.errorName.c_str(),
                                                            outcome.text.c_str());
            event.add("error", outcome.errorName).add("message", outcome.text);
            break;
        case Outcome::Kind::NoArg:
            reply = g_dbus_message_new_method_reply(call);
            break;
        case Outcome::Kind::Int32:
            reply = g_dbus_message_new_method_reply(call);
            g_dbus_message_set_body(reply, g_variant_new("(i)", outcome.number));
            event.add("number", static_cast<long long>(outcome.number));
            break;
        case Outcome::Kind::NoReply:
            unanswered_.push_back(invocation);
            log_.write(event);
            return;
    }

    GError* error = nullptr;
    if (!g_dbus_connection_send_message(connection_, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                        &error)) {
        event.add("sendError", error->message);
        g_error_free(error);
    }
    log_.write(event);
    g_object_unref(reply);
    g_object_unref(invocation);
}
