#include "SimControl.h"

#include <gio/gio.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace {

const char* const kName = "com.ruvex.location.kopad";
const char* const kPath = "/com/ruvex/location/kopad";
const char* const kInterface = "com.ruvex.location.kopad.Simulator";

[[noreturn]] void fail(GError* error, const std::string& what) {
    std::string message = what + ": " + (error ? error->message : "unknown error");
    if (error) {
        g_error_free(error);
    }
    throw std::runtime_error(message);
}

LoggedRequest readRequest(GVariant* entry) {
    const gchar* member = nullptr;
    guint32 serial = 0;
    const gchar* sender = nullptr;
    GVariant* args = nullptr;
    g_variant_get(entry, "(&su&sv)", &member, &serial, &sender, &args);
    LoggedRequest request{member, serial, sender, "", {}, ""};
    gchar* printed = g_variant_print(args, FALSE);
    request.args = printed;
    g_free(printed);
    for (gsize i = 0; i < g_variant_n_children(args); ++i) {
        GVariant* arg = g_variant_get_child_value(args, i);
        if (g_variant_is_of_type(arg, G_VARIANT_TYPE_STRING)) {
            if (request.text.empty()) {
                request.text = g_variant_get_string(arg, nullptr);
            }
        } else if (g_variant_type_is_basic(g_variant_get_type(arg))) {
            // Printed without type annotation, every integer type reads back the same way.
            gchar* number = g_variant_print(arg, FALSE);
            request.numbers.push_back(std::strtoll(number, nullptr, 0));
            g_free(number);
        }
        g_variant_unref(arg);
    }
    g_variant_unref(args);
    return request;
}

}  // namespace

SimControl::SimControl() {
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (address == nullptr) {
        throw std::runtime_error("SimControl: DBUS_SYSTEM_BUS_ADDRESS is not set");
    }
    GError* error = nullptr;
    connection_ = g_dbus_connection_new_for_address_sync(
        address,
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (connection_ == nullptr) {
        fail(error, std::string("SimControl: cannot connect to ") + address);
    }
    // The test decides when the process ends, not a bus that goes away under it.
    g_dbus_connection_set_exit_on_close(connection_, FALSE);
}

SimControl::~SimControl() {
    g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    g_object_unref(connection_);
}

GVariant* SimControl::call(const char* method, GVariant* parameters, const char* replyType,
                           int timeoutMs) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(
        connection_, kName, kPath, kInterface, method, parameters, G_VARIANT_TYPE(replyType),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, timeoutMs, nullptr, &error);
    if (reply == nullptr) {
        fail(error, std::string("SimControl::") + method);
    }
    return reply;
}

void SimControl::pushOutcomes(const std::string& member, const std::vector<std::string>& outcomes) {
    GVariantBuilder texts;
    g_variant_builder_init(&texts, G_VARIANT_TYPE("as"));
    for (const std::string& outcome : outcomes) {
        g_variant_builder_add(&texts, "s", outcome.c_str());
    }
    g_variant_unref(call("PushOutcomes", g_variant_new("(sas)", member.c_str(), &texts), "()"));
}

void SimControl::reset() {
    g_variant_unref(call("Reset", nullptr, "()"));
}

void SimControl::loadScenario(const std::string& text) {
    g_variant_unref(call("LoadScenario", g_variant_new("(s)", text.c_str()), "()"));
}

void SimControl::loadTrack(const std::string& text) {
    g_variant_unref(call("LoadTrack", g_variant_new("(s)", text.c_str()), "()"));
}

std::vector<LoggedRequest> SimControl::requests() {
    GVariant* reply = call("GetRequests", nullptr, "(a(susv))");
    GVariant* list = g_variant_get_child_value(reply, 0);
    std::vector<LoggedRequest> result;
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        GVariant* entry = g_variant_get_child_value(list, i);
        result.push_back(readRequest(entry));
        g_variant_unref(entry);
    }
    g_variant_unref(list);
    g_variant_unref(reply);
    return result;
}

std::vector<LoggedCancel> SimControl::cancels() {
    GVariant* reply = call("GetCancels", nullptr, "(a(suau))");
    GVariant* list = g_variant_get_child_value(reply, 0);
    std::vector<LoggedCancel> result;
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        GVariant* entry = g_variant_get_child_value(list, i);
        const gchar* sender = nullptr;
        guint32 serial = 0;
        GVariant* serials = nullptr;
        g_variant_get(entry, "(&su@au)", &sender, &serial, &serials);
        gsize count = 0;
        auto* values = static_cast<const guint32*>(
            g_variant_get_fixed_array(serials, &count, sizeof(guint32)));
        result.push_back({sender, serial, std::vector<uint32_t>(values, values + count)});
        g_variant_unref(serials);
        g_variant_unref(entry);
    }
    g_variant_unref(list);
    g_variant_unref(reply);
    return result;
}

namespace {

bool waitReply(GVariant* reply) {
    gboolean reached = FALSE;
    g_variant_get(reply, "(b)", &reached);
    g_variant_unref(reply);
    return reached;
}

// The simulator answers at the latest when its own time-out passes; ours is longer.
int callTimeout(unsigned timeoutMs) {
    return static_cast<int>(std::min<unsigned long long>(timeoutMs + 10000ULL, G_MAXINT));
}

}  // namespace

bool SimControl::waitForRequests(unsigned count, unsigned timeoutMs) {
    return waitReply(call("WaitForRequests", g_variant_new("(uu)", count, timeoutMs), "(b)",
                          callTimeout(timeoutMs)));
}

bool SimControl::waitForCancels(unsigned count, unsigned timeoutMs) {
    return waitReply(call("WaitForCancels", g_variant_new("(uu)", count, timeoutMs), "(b)",
                          callTimeout(timeoutMs)));
}
