#ifndef KOPA_TRACE_H
#define KOPA_TRACE_H

#include <KopaLog.h>

#include <cstdint>

// Every trace statement of the library has the same shape: one short-lived KopaLog per line,
// write(level) once, then the text, written out when the KopaLog dies at the end of the
// statement. The texts themselves stay at the call sites:
//
//     KOPA_TRACE() << "KopaFwClient::initKopaFwClient() <-";
//     KOPA_TRACE() << "KopaFwClient::sendMessageAndBlock()  set serial: " << traceNumber(serial);

namespace kopa {

/// The level of every line but one.
constexpr int kTraceLevel = 5;
/// The level of the one line that reports a measurements reply the record could not read.
constexpr int kTraceLevelImportant = 2;

/// Serials and keys are written as unsigned long, addresses as const void*.
inline unsigned long traceNumber(std::uint32_t value) {
    return value;
}
inline const void* tracePointer(const void* pointer) {
    return pointer;
}

}  // namespace kopa

#define KOPA_TRACE() KopaLog().write(::kopa::kTraceLevel)
#define KOPA_TRACE_AT(level) KopaLog().write(level)

#endif
