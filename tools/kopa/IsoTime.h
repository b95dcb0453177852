#ifndef KOPA_TOOL_ISO_TIME_H
#define KOPA_TOOL_ISO_TIME_H

#include <cstdint>
#include <string>

/// "2026-11-23T07:30:12.345Z" for milliseconds since the epoch; empty outside the years 1 to
/// 9999.
std::string isoTime(std::int64_t milliseconds);

#endif
