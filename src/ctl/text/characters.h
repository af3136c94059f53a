// Characters of UTF-8 (RFC 3629), and texts from outside in forms that command no terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ruvex {

// What a file in UTF-8 may begin with.
inline constexpr std::string_view utf_8_mark = "\xEF\xBB\xBF";

// A byte as the number it stands for, 0 to 255.
constexpr unsigned byte_at(std::string_view text, std::size_t at) noexcept {
  return static_cast<unsigned char>(text[at]);
}

// The length of the character at the start of a text that is not empty, 1 to 4 bytes; 0 when what
// stands there is none.
std::size_t utf_8_length(std::string_view text) noexcept;

struct character_form {
  std::size_t length;  // in bytes
  bool is_printable;   // false: a control character, or a byte that belongs to no UTF-8 character
};

// The character at the start of `bytes`, which are not empty.
character_form form_at(std::string_view bytes) noexcept;

// The next three append a text of a file, or a file's name, to `out`. Printable characters stay as
// they are; the functions differ in what becomes of the others.

// For messages: each of their bytes as \xNN, so that no byte is lost.
void append_visible(std::string& out, std::string_view text);

// For tables: "?" in their place. Gives the width: a column for each character.
std::size_t append_printable(std::string& out, std::string_view text);

// For programs: a JSON string (RFC 8259) with its quotes. Quotes and backslashes are escaped, a
// control character is \u00XX, its number. So is a byte that belongs to no UTF-8 character, XX
// being the byte.
void append_json(std::string& out, std::string_view text);

}  // namespace ruvex
