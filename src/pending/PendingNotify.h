#ifndef KOPA_PENDING_NOTIFY_H
#define KOPA_PENDING_NOTIFY_H

#include <dbus/dbus.h>

/// The completion function of every asynchronous request: reads the reply (or maps the
/// error), tells the observer, and takes the request out of the registry. Internal.
void PendingNotify(DBusPendingCall* pending, void* userData);

namespace kopa {

/// Runs PendingNotify for `pending` from the default main context, for a reply that D-Bus
/// completed before the completion function was attached. Takes over one reference to
/// `pending` from the caller. A delivery that D-Bus makes after all finds the request gone.
void scheduleLateDelivery(DBusPendingCall* pending);

}  // namespace kopa

#endif
