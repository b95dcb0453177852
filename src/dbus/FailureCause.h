#ifndef KOPA_FAILURE_CAUSE_RECORD_H
#define KOPA_FAILURE_CAUSE_RECORD_H

#include <KopaFailureCause.h>
#include <dbus/dbus.h>

// The calling thread's record of why its last request failed (see KopaFailureCause.h). Every
// function here is noexcept and allocates nothing: they run on failure paths, in the
// completion function and while the process exits.
namespace kopa {

/// Forgets the last cause: a request starts, or succeeded.
void clearFailureCause() noexcept;
/// Records a cause; null texts count as empty.
void recordFailureCause(KopaFailureKind kind, const char* errorName, const char* message) noexcept;
/// Records a D-Bus error, its kind read from the error's name.
void recordDbusFailure(const DBusError& error) noexcept;
/// Explains `result` by its code when nothing more precise was recorded since the last clear.
void explainUnrecordedFailure(int result) noexcept;

}  // namespace kopa

#endif
