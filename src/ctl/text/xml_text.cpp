#include "xml_text.h"

#include <array>

#include "characters.h"

namespace ruvex {
namespace {

xml_flaw flaw_of_ascii(std::string_view rest, bool is_attribute) noexcept {
  const char character = rest.front();
  if (character == '&' || character == '<') return xml_flaw::markup;
  if (!is_attribute && rest.starts_with("]]>")) return xml_flaw::markup;
  const bool is_white = character == '\t' || character == '\n' || character == '\r';
  return static_cast<unsigned char>(character) < 0x20 && !is_white ? xml_flaw::control
                                                                   : xml_flaw::none;
}

xml_flaw flaw_of(std::string_view rest, std::size_t length, bool is_attribute) noexcept {
  if (length == 0) return xml_flaw::not_utf_8;
  if (length == 1) return flaw_of_ascii(rest, is_attribute);
  const bool is_noncharacter = rest.starts_with("\xEF\xBF\xBE") || rest.starts_with("\xEF\xBF\xBF");
  return is_noncharacter ? xml_flaw::no_character : xml_flaw::non_ascii;
}

constexpr std::array<bool, 256> is_suspect = [] {
  std::array<bool, 256> suspect = {};
  for (std::size_t code = 0; code < suspect.size(); ++code) {
    suspect[code] = code < 0x20 || code >= 0x80 || code == '&' || code == '<' || code == ']';
  }
  suspect['\r'] = suspect['\n'] = suspect['\t'] = false;
  return suspect;
}();

}  // namespace

xml_flaw_place find_xml_flaw(std::string_view text, bool is_attribute) noexcept {
  xml_flaw_place found = {xml_flaw::none, 0};
  std::size_t length = 0;
  for (std::size_t at = 0; at < text.size(); at += length) {
    const std::string_view rest(text.data() + at, text.size() - at);
    length = utf_8_length(rest);
    const xml_flaw flaw = flaw_of(rest, length, is_attribute);
    if (flaw == xml_flaw::none || (flaw == xml_flaw::non_ascii && found.flaw == flaw)) continue;
    found = {flaw, at};
    if (flaw != xml_flaw::non_ascii) return found;
  }
  return found;
}

bool may_have_xml_flaw(std::string_view line) noexcept {
  for (const char character : line) {
    if (is_suspect[static_cast<unsigned char>(character)]) return true;
  }
  return false;
}

}  // namespace ruvex
