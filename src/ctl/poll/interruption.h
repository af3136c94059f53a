// Ctrl-C during a long run: what is there is printed, and the program ends in its own time.
#pragma once

#include <cstdint>

namespace ruvex {

// From now on SIGINT and SIGTERM are noted; a second one ends the program at once.
void watch_for_interruption() noexcept;

bool is_interrupted() noexcept;

// Waits so long, or until a signal has been noted.
void wait_unless_interrupted(std::int64_t milliseconds) noexcept;

}  // namespace ruvex
