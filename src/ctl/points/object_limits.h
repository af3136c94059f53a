// The instances of BACnet objects (ASHRAE 135), devices among them.
#pragma once

#include <cstdint>
#include <string_view>

#include "text/texts.h"

namespace ruvex {

inline constexpr std::int64_t last_object_instance = 4194302;

inline bool is_object_instance(std::string_view text) noexcept {
  return is_number_within(text, 0, last_object_instance);
}

}  // namespace ruvex
