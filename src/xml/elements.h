// Tokens become events: an element and everything in it, with their handlers.
#pragma once

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Parses the element whose start tag's name is in the value buffer, with all that is inside it, and
// calls its handlers; `handler` is that of the enclosing element. 1 on success, 0 on failure.
int parseOneTag(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;

}  // namespace ruvex
