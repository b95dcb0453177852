#include "OwnAnswers.h"
#include "SimService.h"

namespace {

const char* const kInvalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";

}  // namespace

void SimService::handleControl(GDBusMethodInvocation* invocation, const std::string& method,
                               GVariant* parameters) {
    if (method != "GetRequests" && method != "GetCancels") {
        gchar* args = g_variant_print(parameters, TRUE);
        log_.write(JsonLine("control").add("method", method).add("args", args));
        g_free(args);
    }
    if (method == "PushOutcomes") {
        pushOutcomes(invocation, parameters);
    } else if (method == "Reset") {
        reset();
        g_dbus_method_invocation_return_value(invocation, nullptr);
    } else if (method == "LoadScenario") {
        loadScenario(invocation, parameters);
    } else if (method == "LoadTrack") {
        loadTrack(invocation, parameters);
    } else if (method == "GetRequests") {
        g_dbus_method_invocation_return_value(invocation, requestsValue());
    } else if (method == "GetCancels") {
        g_dbus_method_invocation_return_value(invocation, cancelsValue());
    } else if (method == "WaitForRequests") {
        wait(invocation, parameters, false);
    } else {
        wait(invocation, parameters, true);
    }
}

void SimService::pushOutcomes(GDBusMethodInvocation* invocation, GVariant* parameters) {
    const gchar* member = nullptr;
    GVariantIter* texts = nullptr;
    g_variant_get(parameters, "(&sas)", &member, &texts);
    std::string why;
    std::vector<Outcome> outcomes;
    if (!isRequestMember(member)) {
        why = std::string("unknown member \"") + member + "\"";
    }
    const gchar* text = nullptr;
    while (why.empty() && g_variant_iter_next(texts, "&s", &text)) {
        Outcome outcome;
        if (parseOutcome(text, outcome, why)) {
            outcomes.push_back(outcome);
        }
    }
    g_variant_iter_free(texts);
    // All or nothing: a refused list leaves the queue as it was.
    if (!why.empty()) {
        g_dbus_method_invocation_return_dbus_error(invocation, kInvalidArgs, why.c_str());
        return;
    }
    std::deque<Outcome>& queue = queues_[member];
    queue.insert(queue.end(), outcomes.begin(), outcomes.end());
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

void SimService::loadScenario(GDBusMethodInvocation* invocation, GVariant* parameters) {
    const gchar* text = nullptr;
    g_variant_get(parameters, "(&s)", &text);
    Scenario scenario = Scenario::builtIn();
    std::string why;
    ScenarioContext context;  // track paths are relative to the simulator's folder
    context.track = trackSettings_;
    if (!parseScenario(text, scenario, why, context)) {
        g_dbus_method_invocation_return_dbus_error(invocation, kInvalidArgs, why.c_str());
        return;
    }
    scenario_ = std::move(scenario);
    reset();
    startTrack();
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

// The journey in the text replaces the one in use (or the fixed position) only when all of it
// reads; the rest of the scenario stays.
void SimService::loadTrack(GDBusMethodInvocation* invocation, GVariant* parameters) {
    const gchar* text = nullptr;
    g_variant_get(parameters, "(&s)", &text);
    std::string why;
    std::shared_ptr<const Track> track = parseGpx(text, trackSettings_, why);
    if (!track) {
        g_dbus_method_invocation_return_dbus_error(invocation, kInvalidArgs, why.c_str());
        return;
    }
    scenario_.track = std::move(track);
    scenario_.trackSource = "LoadTrack";
    startTrack();
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

void SimService::reset() {
    queues_.clear();
    for (const auto& [member, outcomes] : scenario_.outcomes) {
        queues_[member].assign(outcomes.begin(), outcomes.end());
    }
    lastKnown_ = scenario_.position;
    if (!scenario_.fixedTimestamp) {
        lastKnown_.setTimestamp(nowMilliseconds());
    }
    for (Request& request : requests_) {
        g_variant_unref(request.args);
    }
    requests_.clear();
    cancels_.clear();
    dropPendingCalls();
}

// The callers of "noreply" requests wait for their own time-outs either way; holding their
// invocations any longer would only grow the service.
void SimService::dropPendingCalls() {
    for (GDBusMethodInvocation* invocation : unanswered_) {
        g_object_unref(invocation);
    }
    unanswered_.clear();
}

GVariant* SimService::requestsValue() const {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("(a(susv))"));
    g_variant_builder_open(&builder, G_VARIANT_TYPE("a(susv)"));
    for (const Request& request : requests_) {
        g_variant_builder_add(&builder, "(susv)", request.member.c_str(), request.serial,
                              request.sender.c_str(), request.args);
    }
    g_variant_builder_close(&builder);
    return g_variant_builder_end(&builder);
}

GVariant* SimService::cancelsValue() const {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("(a(suau))"));
    g_variant_builder_open(&builder, G_VARIANT_TYPE("a(suau)"));
    for (const Cancel& cancel : cancels_) {
        GVariant* serials = g_variant_new_fixed_array(G_VARIANT_TYPE_UINT32, cancel.serials.data(),
                                                      cancel.serials.size(), sizeof(guint32));
        g_variant_builder_add(&builder, "(su@au)", cancel.sender.c_str(), cancel.serial, serials);
    }
    g_variant_builder_close(&builder);
    return g_variant_builder_end(&builder);
}

void SimService::wait(GDBusMethodInvocation* invocation, GVariant* parameters, bool forCancels) {
    guint count = 0;
    guint timeoutMs = 0;
    g_variant_get(parameters, "(uu)", &count, &timeoutMs);
    std::size_t have = forCancels ? cancels_.size() : requests_.size();
    if (have >= count) {
        g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", TRUE));
        return;
    }
    // Answered later from the main loop: by checkWaiters or by the time-out.
    auto waiter = std::make_unique<Waiter>(Waiter{this, invocation, forCancels, count});
    waiter->timeout = g_timeout_add(timeoutMs, onWaitOver, waiter.get());
    waiters_.push_back(std::move(waiter));
}

gboolean SimService::onWaitOver(gpointer data) {
    auto* waiter = static_cast<Waiter*>(data);
    g_dbus_method_invocation_return_value(waiter->invocation, g_variant_new("(b)", FALSE));
    waiter->service->waiters_.remove_if(
        [waiter](const std::unique_ptr<Waiter>& w) { return w.get() == waiter; });
    return G_SOURCE_REMOVE;
}

void SimService::checkWaiters() {
    for (auto it = waiters_.begin(); it != waiters_.end();) {
        Waiter& waiter = **it;
        std::size_t have = waiter.forCancels ? cancels_.size() : requests_.size();
        if (have < waiter.count) {
            ++it;
            continue;
        }
        g_source_remove(waiter.timeout);
        g_dbus_method_invocation_return_value(waiter.invocation, g_variant_new("(b)", TRUE));
        it = waiters_.erase(it);
    }
}
