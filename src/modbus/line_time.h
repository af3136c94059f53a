// The times of a client's line, and the silence that it keeps there. A connection has none.
#pragma once

#include <cstdint>

#include "ruvex/modbus/client_record.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

// Devices act on a broadcast without an answer that tells when they are ready again; "MODBUS over
// Serial Line V1.02", section 2.4.1, has 100 to 200 ms.
inline constexpr std::int64_t turnaround_ms = 100;

// The time that characters take on the line: 11 bits each, rounded up.
std::int64_t time_of(const mod_client& client, std::int64_t characters) noexcept;

// After so long without a byte, no more bytes of a frame come.
std::int64_t gap_ms(const mod_client& client) noexcept;

// No request goes out before `until`; where an earlier call has told a later time, that one holds.
void be_quiet(mod_client& client, std::int64_t until) noexcept;

// Receives up to a point in time (now_ms), after which the line has its silence again. Results as
// those of mod_lineRecvTimeout.
std::int32_t receive_some(mod_client& client, std::uint8_t (&bytes)[mod_buffer_size],
                          std::int64_t deadline) noexcept;

// Drops what comes until the line has been silent for its time. A line that never is, is not waited
// for: the answer is looked for among what it says.
void await_silence(mod_client& client) noexcept;

}  // namespace ruvex
