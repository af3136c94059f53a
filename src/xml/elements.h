// Tokens become events: the document and its elements, with their handlers.
#pragma once

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Parses the element whose start tag's name is in the value buffer, with all that is inside it, and
// calls its handlers; `handler` is that of the enclosing element. 1 on success, 0 on failure.
int parseOneTag(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;

// Parses a document with `handler` as the enclosing handler of the document element. Bytes behind
// that element are not looked at. 1 on success, 0 on failure, with the reason in `error`.
int parseSimpleXml(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;

}  // namespace ruvex
