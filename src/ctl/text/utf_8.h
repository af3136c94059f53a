// Characters of UTF-8 (RFC 3629).
#pragma once

#include <cstddef>
#include <string_view>

namespace ruvex {

// What a file in UTF-8 may begin with.
inline constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

// The length of the character at the start of a text that is not empty, 1 to 4 bytes; 0 when what
// stands there is none.
std::size_t utf_8_length(std::string_view text) noexcept;

}  // namespace ruvex
