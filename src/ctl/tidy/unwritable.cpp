#include "unwritable.h"

#include <algorithm>

#include "text/cells.h"
#include "text/characters.h"

namespace ruvex {
namespace {

struct piece {
  std::size_t length;
  const char* unwritable;  // null: a mapping file can hold it
};

// How many characters at the start of a text are printable ones of ASCII and neither a comma nor a
// double quote: nearly always all.
std::size_t plain_length(std::string_view text) noexcept {
  const auto is_plain = [](char character) {
    return character >= ' ' && character < '\x7F' && character != ',' && character != '"';
  };
  const auto end = std::find_if_not(text.begin(), text.end(), is_plain);
  return static_cast<std::size_t>(end - text.begin());
}

// The plain characters, or the other one, at the start of a text that is not empty. A typographic
// sign of another code page comes out as one of U+0080 to U+009F when it is taken for Latin-1.
piece piece_at(std::string_view text) noexcept {
  if (const std::size_t length = plain_length(text); length != 0) return {length, nullptr};
  switch (text.front()) {
    case ',':
      return {1, "a comma"};
    case '"':
      return {1, "a double quote"};
    case '\r':
    case '\n':
      return {text.starts_with("\r\n") ? std::size_t{2} : 1, "a line end"};
    case '\0':
      return {1, "a NUL byte"};
    default:
      break;
  }
  const character_form form = form_at(text);
  return {form.length, form.is_printable ? nullptr : "a control character"};
}

}  // namespace

const char* find_unwritable(std::string_view text) noexcept {
  while (!text.empty()) {
    const piece piece = piece_at(text);
    if (piece.unwritable != nullptr) return piece.unwritable;
    text.remove_prefix(piece.length);
  }
  return nullptr;
}

std::size_t replace_unwritable(std::string& text, std::string_view replacement) {
  std::size_t count = 0;
  std::string kept;
  std::string replaced;
  for (std::string_view rest = text; !rest.empty();) {
    const piece piece = piece_at(rest);
    if (piece.unwritable == nullptr) kept += rest.substr(0, piece.length);
    replaced += piece.unwritable == nullptr ? rest.substr(0, piece.length) : replacement;
    count += piece.unwritable == nullptr ? 0 : 1;
    rest.remove_prefix(piece.length);
  }
  if (count == 0 || without_blanks(kept).empty()) return 0;
  text = without_blanks(replaced);
  return count;
}

}  // namespace ruvex
