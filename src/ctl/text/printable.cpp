#include "printable.h"

#include "utf_8.h"

namespace ruvex {

character_form form_at(std::string_view bytes) noexcept {
  const auto first = static_cast<unsigned char>(bytes.front());
  if (first < 0x80) return {1, first >= 0x20 && first != 0x7F};
  const std::size_t length = utf_8_length(bytes);
  if (length == 0) return {1, false};
  const bool is_control = first == 0xC2 && static_cast<unsigned char>(bytes[1]) < 0xA0;
  return {length, !is_control};  // U+0080 to U+009F
}

namespace {

// How many characters at the start of a text are printable ones of ASCII: nearly always all.
std::size_t plain_length(std::string_view text) noexcept {
  std::size_t length = 0;
  while (length < text.size() && text[length] >= ' ' && text[length] < '\x7F') ++length;
  return length;
}

}  // namespace

std::size_t append_printable(std::string& out, std::string_view text) {
  std::size_t width = plain_length(text);
  out += std::string_view(text.data(), width);
  text.remove_prefix(width);
  for (; !text.empty(); ++width) {
    const character_form form = form_at(text);
    out += form.is_printable ? std::string_view(text.data(), form.length) : "?";
    text.remove_prefix(form.length);
  }
  return width;
}

}  // namespace ruvex
