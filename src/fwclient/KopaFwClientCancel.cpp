// Giving up outstanding asynchronous requests, and telling the service which ones.
#include <new>

#include "dbus/MessageRef.h"
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
    kopa::MessageRef signal(
        dbus_message_new_signal(kopa::kServicePath, kopa::kServiceInterface, kopa::kSignalCancel));
    if (signal.get() == nullptr) {
        throw std::bad_alloc();
    }
    if (!dbus_message_set_destination(signal.get(), kopa::kServiceName)) {
        throw std::bad_alloc();
    }

    std::vector<dbus_uint32_t> array(serials.begin(), serials.end());
    // libdbus wants a valid address even for an empty array.
    dbus_uint32_t none = 0;
    const dbus_uint32_t* elements = array.empty() ? &none : array.data();
    dbus_message_append_args(signal.get(), DBUS_TYPE_ARRAY, DBUS_TYPE_UINT32, &elements,
                             static_cast<int>(array.size()), DBUS_TYPE_INVALID);

    if (dbus_connection_send(connection, signal.get(), nullptr)) {
        KOPA_TRACE() << "KopaFwClient::sendCancel() DBus cancel sent";
    } else {
        KOPA_TRACE() << "KopaFwClient::sendCancel() ERROR: dbus_connection_send() for cancel "
                        "signal";
    }
    dbus_connection_flush(connection);
    signal.reset();
    KOPA_TRACE() << "KopaFwClient::sendCancel() ->";
}
