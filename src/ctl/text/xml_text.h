// What keeps a text from standing in XML as it is (XML 1.0, sections 2.2, 2.4 and 3.1).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvex {

enum class xml_flaw : std::uint8_t { none, non_ascii, not_utf_8, markup, control, no_character };

struct xml_flaw_place {
  xml_flaw flaw;
  std::size_t at;  // the first byte of what is wrong
};

// The gravest flaw of a text, and where it is first: what breaks the XML comes before characters
// beyond ASCII. "]]>" is markup in element content alone.
xml_flaw_place find_xml_flaw(std::string_view text, bool is_attribute) noexcept;

// Whether a line has bytes for which find_xml_flaw is to be asked: a quick look.
bool may_have_xml_flaw(std::string_view line) noexcept;

}  // namespace ruvex
