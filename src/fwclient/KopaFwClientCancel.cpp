// Giving up outstanding asynchronous requests, and telling the service which ones.
#include <new>

#include "dbus/ServiceNames.h"
#include "fwclient/KopaFwClient.h"
#include "log/Trace.h"
#include "pending/PendingStates.h"

void KopaFwClient::cancel(KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::cancel() <-";
    std::vector<unsigned int> serials;
    if (pendingStatesP()->cancelPendingEntry(owner, serials)) {
        sendCancel(serials);
    }
    KOPA_TRACE() << "KopaFwClient::cancel() ->";
}

void KopaFwClient::cancel(KopaRequestType requestType, KopaPositioning* owner) {
    KOPA_TRACE() << "KopaFwClient::cancel() <-";
    unsigned int serial = 0;
    if (pendingStatesP()->cancelPendingEntry(requestType, owner, serial)) {
        sendCancel(std::vector<unsigned int>{serial});
    }
    KOPA_TRACE() << "KopaFwClient::cancel() ->";
}

void KopaFwClient::sendCancel(std::vector<unsigned int> serials) {
    KOPA_TRACE() << "KopaFwClient::sendCancel() <-";
    for (unsigned int serial : serials) {
        KOPA_TRACE() << "KopaFwClient::sendCancel() cancel serial: " << kopa::traceNumber(serial);
    }
    DBusMessage* signal =
        dbus_message_new_signal(kopa::kServicePath, kopa::kServiceInterface, kopa::kSignalCancel);
    if (signal == nullptr) {
        throw std::bad_alloc();
    }
    if (!dbus_message_set_destination(signal, kopa::kServiceName)) {
        dbus_message_unref(signal);
        throw std::bad_alloc();
    }

    std::vector<dbus_uint32_t> array(serials.begin(), serials.end());
    // libdbus wants a valid address even for an empty array.
    dbus_uint32_t none = 0;
    const dbus_uint32_t* elements = array.empty() ? &none : array.data();
    dbus_message_append_args(signal, DBUS_TYPE_ARRAY, DBUS_TYPE_UINT32, &elements,
                             static_cast<int>(array.size()), DBUS_TYPE_INVALID);

    if (dbus_connection_send(connection, signal, nullptr)) {
        KOPA_TRACE() << "KopaFwClient::sendCancel() DBus cancel sent";
    } else {
        KOPA_TRACE() << "KopaFwClient::sendCancel() ERROR: dbus_connection_send() for cancel "
                        "signal";
    }
    dbus_connection_flush(connection);
    dbus_message_unref(signal);
    KOPA_TRACE() << "KopaFwClient::sendCancel() ->";
}
