// A configuration in XML, part by part, each with its place. The library's reader tells none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ruvex/xml/parser.h"
#include "text/cells.h"

namespace ruvex {

enum class part_kind : std::uint8_t {
  start,           // an element begins
  attribute,       // of the element that has begun
  attributes_end,  // of an element with an end tag
  content,         // a run of text between two pieces of markup
  end,             // the innermost element ends
  skipped,         // a comment, a processing instruction or a DOCTYPE
  declaration,     // another declaration: a CDATA section, too
};

struct document_part {
  part_kind kind;
  text_place place;       // its first byte that is no white space; the end of a blank content
  std::string_view name;  // of the element (start) or the attribute
  std::string_view text;  // of the content, or the attribute's value, decoded
};

// Gives the tokens of the project's own parser.
class document_parts {
 public:
  // `xml` is not empty, has at most 2^31 - 1 bytes and outlives the object. Its first line has
  // `columns_before` bytes before it.
  document_parts(std::string_view xml, std::size_t columns_before);

  // Gets the next part, whose texts are valid until the next call. White space outside the
  // elements is passed over. False at the end, where the part's place has line 0, and where the XML
  // breaks in the part at the place.
  bool next(document_part& part);

  // How many elements are open. The one whose start has been given is one of them.
  std::size_t depth() const noexcept { return depth_; }

 private:
  text_place next_place() noexcept;
  bool next_in_tag(document_part& part);
  bool next_outside_tag(document_part& part);
  std::string_view text() const noexcept;

  std::string_view xml_;
  xml_parser_ptr parser_;
  std::size_t depth_ = 0;
  bool is_in_tag_ = false;
  text_place place_;  // of the byte at placed_
  std::size_t placed_ = 0;
};

}  // namespace ruvex
