#include "ServiceClient.h"

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

const char* const kName = "com.ruvex.location.kopad";
const char* const kPath = "/com/ruvex/location/kopad";

void fill(Answer& answer, GDBusMessage* reply, GError* error) {
    if (reply == nullptr) {
        answer.kind = Answer::Kind::TimedOut;
        answer.message = error ? error->message : "";
        g_clear_error(&error);
        return;
    }
    const bool isError = g_dbus_message_get_message_type(reply) == G_DBUS_MESSAGE_TYPE_ERROR;
    answer.kind = isError ? Answer::Kind::Error : Answer::Kind::Return;
    answer.errorName = isError ? g_dbus_message_get_error_name(reply) : "";
    GVariant* body = g_dbus_message_get_body(reply);
    answer.body = body ? g_variant_ref(body) : nullptr;
    const std::string type = body ? g_variant_get_type_string(body) : "()";
    answer.signature = type.substr(1, type.size() - 2);  // without the tuple's brackets
    if (body && g_variant_n_children(body) > 0) {
        GVariant* child = g_variant_get_child_value(body, 0);
        if (g_variant_is_of_type(child, G_VARIANT_TYPE_STRING)) {
            (isError ? answer.message : answer.text) = g_variant_get_string(child, nullptr);
        }
        g_variant_unref(child);
    }
    g_object_unref(reply);
}

struct Pending {
    Answer* answer;
    bool* done;
};

}  // namespace

Answer::Answer(Answer&& other) noexcept {
    *this = std::move(other);
}

Answer& Answer::operator=(Answer&& other) noexcept {
    std::swap(kind, other.kind);
    std::swap(signature, other.signature);
    std::swap(text, other.text);
    std::swap(body, other.body);
    std::swap(errorName, other.errorName);
    std::swap(message, other.message);
    std::swap(serial, other.serial);
    return *this;
}

Answer::~Answer() {
    if (body) {
        g_variant_unref(body);
    }
}

ServiceClient::ServiceClient() {
    GError* error = nullptr;
    const char* address = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    connection_ = g_dbus_connection_new_for_address_sync(
        address ? address : "",
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error);
    if (connection_ == nullptr) {
        std::string why = error->message;
        g_error_free(error);
        throw std::runtime_error("ServiceClient: " + why);
    }
    g_dbus_connection_set_exit_on_close(connection_, FALSE);
}

ServiceClient::~ServiceClient() {
    g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    g_object_unref(connection_);
}

std::string ServiceClient::uniqueName() const {
    return g_dbus_connection_get_unique_name(connection_);
}

GDBusMessage* ServiceClient::message(const char* interfaceName, const char* member,
                                     GVariant* parameters) {
    GDBusMessage* call = g_dbus_message_new_method_call(kName, kPath, interfaceName, member);
    if (parameters) {
        g_dbus_message_set_body(call, parameters);
    }
    return call;
}

Answer ServiceClient::call(const char* interfaceName, const char* member, GVariant* parameters,
                           int timeoutMs) {
    GDBusMessage* call = message(interfaceName, member, parameters);
    Answer answer;
    GError* error = nullptr;
    GDBusMessage* reply = g_dbus_connection_send_message_with_reply_sync(
        connection_, call, G_DBUS_SEND_MESSAGE_FLAGS_NONE, timeoutMs, &answer.serial, nullptr,
        &error);
    fill(answer, reply, error);
    g_object_unref(call);
    return answer;
}

void ServiceClient::requestAsync(const char* interfaceName, const char* member,
                                 GVariant* parameters, Answer& answer, bool& done) {
    GDBusMessage* call = message(interfaceName, member, parameters);
    done = false;
    g_dbus_connection_send_message_with_reply(
        connection_, call, G_DBUS_SEND_MESSAGE_FLAGS_NONE, 30000, &answer.serial, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto* pending = static_cast<Pending*>(data);
            GError* error = nullptr;
            GDBusMessage* reply = g_dbus_connection_send_message_with_reply_finish(
                G_DBUS_CONNECTION(source), result, &error);
            fill(*pending->answer, reply, error);
            *pending->done = true;
            delete pending;
        },
        new Pending{&answer, &done});
    g_object_unref(call);
}

std::uint32_t ServiceClient::sendCancel(GVariant* body) {
    GDBusMessage* signal = g_dbus_message_new_signal(kPath, kName, "cancel");
    g_dbus_message_set_destination(signal, kName);
    g_dbus_message_set_body(signal, body);
    guint32 serial = 0;
    GError* error = nullptr;
    if (!g_dbus_connection_send_message(connection_, signal, G_DBUS_SEND_MESSAGE_FLAGS_NONE,
                                        &serial, &error)) {
        std::string why = error->message;
        g_error_free(error);
        g_object_unref(signal);
        throw std::runtime_error("sendCancel: " + why);
    }
    g_object_unref(signal);
    return serial;
}

bool iterateUntilSet(const bool& done) {
    gint64 giveUp = g_get_monotonic_time() + 30 * G_USEC_PER_SEC;
    // A periodic wake-up makes the deadline count even when nothing arrives.
    guint tick = g_timeout_add(
        20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!done && g_get_monotonic_time() < giveUp) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(tick);
    return done;
}
