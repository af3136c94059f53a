// Texts of a file on their way to a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ruvex {

struct character_form {
  std::size_t length;  // in bytes
  bool is_printable;   // false: a control character, or a byte that belongs to no UTF-8 character
};

// The character at the start of `bytes`, which are not empty.
character_form form_at(std::string_view bytes) noexcept;

// Appends the text to `out` with "?" in place of everything that is not printable, so that no file
// can command the terminal. Gives the width: a column for each character.
std::size_t append_printable(std::string& out, std::string_view text);

}  // namespace ruvex
