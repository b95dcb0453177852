#ifndef KOPA_PENDING_NOTIFY_H
#define KOPA_PENDING_NOTIFY_H

#include <dbus/dbus.h>

/// The completion function of every asynchronous request: reads the reply (or maps the
/// error), tells the observer, and takes the request out of the registry. Internal.
void PendingNotify(DBusPendingCall* pending, void* userData);

namespace kopa {

/// Runs PendingNotify for `pending` from the default main context, for a reply that D-Bus
/// completed before the completion function was attached.
void scheduleLateDelivery(DBusPendingCall* pending);

}  // namespace kopa

#endif
