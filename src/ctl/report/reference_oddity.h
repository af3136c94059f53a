// Modbus references as people write them.
#pragma once

#include <string_view>

namespace ruvex {

// What a reference is that is no plain number, as a predicate: "is hexadecimal"; empty where it is
// one.
std::string_view reference_oddity(std::string_view field) noexcept;

}  // namespace ruvex
