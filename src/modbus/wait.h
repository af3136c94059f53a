// Waiting on a descriptor up to a point in time, whatever interrupts it.
#pragma once

#include <cstdint>

namespace ruvex {

// Milliseconds that no change of the date moves.
std::int64_t now_ms() noexcept;

// Waits for events of poll; false when the deadline (now_ms) has passed. An end of input and an
// error count as events: the call that follows tells them apart.
bool wait_for_events(int fd, short events, std::int64_t deadline) noexcept;

}  // namespace ruvex
