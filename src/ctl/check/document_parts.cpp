#include "document_parts.h"

#include <algorithm>

#include "report/refusal_findings.h"
#include "ruvex/xml/tokenizer.h"

namespace ruvex {

document_parts::document_parts(std::string_view xml, std::size_t columns_before)
    : xml_(xml),
      parser_(simpleXmlCreateParser(xml.data(), static_cast<std::int32_t>(xml.size()))),
      place_{1, 1 + columns_before} {
  if (parser_ == nullptr) end_without_memory();
  parser_->error = SIMPLE_XML_NO_ERROR;
}

bool document_parts::next(document_part& part) {
  part = {};
  if (depth_ == 0 && skipWhitespace(parser_.get()) == 0) return false;
  clearSimpleXmlValueBuffer(parser_->valueBuffer);
  part.place = next_place();
  if (is_in_tag_ ? next_in_tag(part) : next_outside_tag(part)) return true;
  if (parser_->error == SIMPLE_XML_OUT_OF_MEMORY) end_without_memory();
  return false;
}

bool document_parts::next_in_tag(document_part& part) {
  if (readNextTagToken(parser_.get()) == 0) return false;
  if (parser_->tokenType == TOKEN_ATTRIBUTE) {
    part.kind = part_kind::attribute;
    part.name = parser_->attributeName;
    part.text = text();
    return true;
  }
  is_in_tag_ = false;
  part.kind = parser_->tokenType == TOKEN_TAG_END ? part_kind::end : part_kind::attributes_end;
  if (part.kind == part_kind::end) --depth_;
  return true;
}

bool document_parts::next_outside_tag(document_part& part) {
  if (readNextContentToken(parser_.get()) == 0) return false;
  part.text = text();
  switch (parser_->tokenType) {
    case TOKEN_TAG_START:
      part.kind = part_kind::start;
      part.name = part.text.substr(0, part.text.find('\0'));  // as the reader, a handler, has it
      is_in_tag_ = true;
      ++depth_;
      break;
    case TOKEN_TAG_END:
      part.kind = part_kind::end;
      if (depth_ != 0) --depth_;
      break;
    case TOKEN_CONTENT:
      part.kind = part_kind::content;
      break;
    case TOKEN_DECLARATION:
      part.kind = part_kind::declaration;
      break;
    default:
      part.kind = part_kind::skipped;
      break;
  }
  return true;
}

// Line ends are those that the parser counts: LF, CR LF and CR.
text_place document_parts::next_place() noexcept {
  auto end = std::min(static_cast<std::size_t>(parser_->inputPosition), xml_.size());
  while (end != xml_.size() && static_cast<unsigned char>(xml_[end]) <= ' ') ++end;
  for (; placed_ < end; ++placed_) {
    const bool is_in_pair = xml_[placed_] == '\r' && xml_.substr(placed_ + 1).starts_with('\n');
    if (xml_[placed_] == '\n' || (xml_[placed_] == '\r' && !is_in_pair)) {
      place_ = {place_.line + 1, 1};
    } else {
      ++place_.column;
    }
  }
  return place_;
}

std::string_view document_parts::text() const noexcept {
  const SimpleXmlValueBuffer& buffer = *parser_->valueBuffer;
  return {buffer.data, static_cast<std::size_t>(buffer.length)};
}

}  // namespace ruvex
