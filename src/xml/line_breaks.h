// Line breaks are counted when they are asked for, not at every byte.
#pragma once

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Brings the parser's `lineBreaks` up to its position.
void count_line_breaks(SimpleXmlParser* parser) noexcept;

}  // namespace ruvex
