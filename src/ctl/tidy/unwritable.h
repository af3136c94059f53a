// What the cells of a sheet hold that no cell of a mapping file can, and what is put in its place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ruvex {

// The first thing in `text` that a mapping file cannot hold, for people ("a comma"); null when
// there is none. It is a comma, a double quote, a line end, a control character or a byte that
// belongs to no UTF-8 character. The control characters U+0080 to U+009F are among it.
const char* find_unwritable(std::string_view text) noexcept;

// Puts `replacement` in the place of everything in `text` that a mapping file cannot hold; CR LF is
// one line end. Then takes the blanks off both ends. Gives how often; 0, and `text` is unchanged,
// when there is nothing to replace, or nothing but that and blanks.
std::size_t replace_unwritable(std::string& text, std::string_view replacement);

}  // namespace ruvex
