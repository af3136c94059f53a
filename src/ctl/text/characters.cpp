#include "characters.h"

#include "texts.h"

namespace ruvex {
namespace {

// Lead bytes of UTF-8 with the bounds of the byte behind them, which keep out overlong forms,
// surrogates and what lies beyond U+10FFFF.
struct lead_row {
  unsigned char first, last;
  unsigned char second_first, second_last;
  std::size_t length;
};
constexpr lead_row leads[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

// How many characters at the start of a text are printable ones of ASCII: nearly always all.
std::size_t plain_length(std::string_view text) noexcept {
  std::size_t length = 0;
  while (length < text.size() && text[length] >= ' ' && text[length] < '\x7F') ++length;
  return length;
}

// Calls shown(piece) for runs of printable ASCII and for every other printable character,
// hidden(piece) for each of the rest.
template <class Shown, class Hidden>
void divide(std::string_view text, Shown shown, Hidden hidden) {
  while (!text.empty()) {
    character_form form = {plain_length(text), true};
    if (form.length == 0) form = form_at(text);
    const std::string_view piece(text.data(), form.length);
    text.remove_prefix(form.length);
    if (form.is_printable) {
      shown(piece);
    } else {
      hidden(piece);
    }
  }
}

}  // namespace

std::size_t utf_8_length(std::string_view text) noexcept {
  for (const lead_row& lead : leads) {
    if (byte_at(text, 0) < lead.first || byte_at(text, 0) > lead.last) continue;
    if (text.size() < lead.length) return 0;
    if (lead.length > 1 &&
        (byte_at(text, 1) < lead.second_first || byte_at(text, 1) > lead.second_last)) {
      return 0;
    }
    for (std::size_t at = 2; at < lead.length; ++at) {
      if ((byte_at(text, at) & 0xC0) != 0x80) return 0;
    }
    return lead.length;
  }
  return 0;
}

character_form form_at(std::string_view bytes) noexcept {
  const unsigned first = byte_at(bytes, 0);
  if (first < 0x80) return {1, first >= 0x20 && first != 0x7F};
  const std::size_t length = utf_8_length(bytes);
  if (length == 0) return {1, false};
  const bool is_control = first == 0xC2 && byte_at(bytes, 1) < 0xA0;
  return {length, !is_control};  // U+0080 to U+009F
}

void append_visible(std::string& out, std::string_view text) {
  divide(
      text, [&out](std::string_view piece) { out += piece; },
      [&out](std::string_view piece) {
        for (std::size_t at = 0; at < piece.size(); ++at) {
          append_hex(out += "\\x", byte_at(piece, at), 2);
        }
      });
}

std::size_t append_printable(std::string& out, std::string_view text) {
  std::size_t width = 0;
  divide(
      text,
      [&out, &width](std::string_view piece) {
        out += piece;
        width += byte_at(piece, 0) < 0x80 ? piece.size() : 1;
      },
      [&out, &width](std::string_view) {
        out += '?';
        ++width;
      });
  return width;
}

// The controls above ASCII, U+0080 to U+009F, end in the byte that is their number.
void append_json(std::string& out, std::string_view text) {
  out += '"';
  divide(
      text,
      [&out](std::string_view piece) {
        for (const char character : piece) {
          if (character == '"' || character == '\\') out += '\\';
          out += character;
        }
      },
      [&out](std::string_view piece) {
        append_hex(out += "\\u00", byte_at(piece, piece.size() - 1), 2, "0123456789abcdef");
      });
  out += '"';
}

}  // namespace ruvex
