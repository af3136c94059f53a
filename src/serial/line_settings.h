// What a line can be set to.
#pragma once

#include <termios.h>

#include <cstdint>

namespace ruvex {

// Each takes the rates of those after it as well.
enum class rate_user : std::uint8_t { number, change };

struct rate {
  std::int32_t baud;
  speed_t code;
  rate_user last_user;
};

// Null when the user does not take this rate.
const rate* find_rate(std::int32_t baud, rate_user user) noexcept;

}  // namespace ruvex
