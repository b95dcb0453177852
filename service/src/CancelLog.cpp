#include "SimService.h"

struct SimService::PostedCancel {
    SimService* service;
    Cancel cancel;
    std::string signature;  // of the body
    bool understood;        // the body is one array of UINT32
};

// Runs on GDBus's worker thread for every message, because signal subscriptions do not tell
// the serial of the signal message, which the log must show.
GDBusMessage* SimService::onMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming,
                                    gpointer data) {
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_SIGNAL ||
        g_strcmp0(g_dbus_message_get_interface(message), kServiceInterface) != 0 ||
        g_strcmp0(g_dbus_message_get_member(message), "cancel") != 0) {
        return message;
    }
    auto* filter = static_cast<FilterData*>(data);
    auto* posted = new PostedCancel{filter->service, Cancel(), "", false};
    const gchar* sender = g_dbus_message_get_sender(message);
    posted->cancel.sender = sender ? sender : "";
    posted->cancel.serial = g_dbus_message_get_serial(message);
    GVariant* body = g_dbus_message_get_body(message);
    posted->signature = body ? g_variant_get_type_string(body) : "()";
    if (body != nullptr && g_variant_is_of_type(body, G_VARIANT_TYPE("(au)"))) {
        GVariant* array = g_variant_get_child_value(body, 0);
        gsize count = 0;
        auto* serials =
            static_cast<const guint32*>(g_variant_get_fixed_array(array, &count, sizeof(guint32)));
        posted->cancel.serials.assign(serials, serials + count);
        g_variant_unref(array);
        posted->understood = true;
    }
    GSource* idle = g_idle_source_new();
    g_source_set_callback(idle, onPostedCancel, posted, nullptr);
    g_source_attach(idle, filter->context);
    g_source_unref(idle);
    return message;
}

gboolean SimService::onPostedCancel(gpointer data) {
    std::unique_ptr<PostedCancel> posted(static_cast<PostedCancel*>(data));
    SimService* service = posted->service;
    if (service->stopped_) {
        return G_SOURCE_REMOVE;
    }
    if (!posted->understood) {
        // Not a cancel the service can read: an event, but no entry in the cancel log.
        service->log_.write(JsonLine("ignored")
                                .add("what", "cancel signal of another signature")
                                .add("sender", posted->cancel.sender)
                                .add("serial", posted->cancel.serial)
                                .add("signature", posted->signature));
        return G_SOURCE_REMOVE;
    }
    service->logCancel(std::move(posted->cancel));
    return G_SOURCE_REMOVE;
}

void SimService::logCancel(Cancel cancel) {
    log_.write(JsonLine("cancel")
                   .add("sender", cancel.sender)
                   .add("serial", cancel.serial)
                   .add("serials", cancel.serials));
    cancels_.push_back(std::move(cancel));
    checkWaiters();
}
