// The configuration document, read back.
//
// A document that the writer wrote reads back with the same texts, but for what the writer leaves
// out and for document settings written as empty elements, which read as their defaults.
//
// Every read keeps its state to itself, so several may run at the same time, also beside a write.
#pragma once

#include <cstdint>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/records.h"
#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Other code may put a text here, which is then printed in place of the reader's own reason when a
// document is refused for its structure. Empty at program start; the reader does not write into it.
extern char yax_xml_parse_error[128];

// Reads the document file `path` into a new document, which the caller owns (yax_cfg_ptr). It
// starts with the document defaults; a setting of the file replaces its default, and units and
// channels have just what the file gives them. Texts are stored as they stand, decoded but not
// checked. Names that are no tags are ignored with what is in them.
//
// Null, and everything is released, when
//   - the file cannot be read whole, is empty or is larger than 2^31 - 1 bytes, or memory has run
//     out before the parse: nothing is printed;
//   - the XML is malformed, a known element stands where it does not belong, a text is longer than
//     its setting or holds a NUL byte, a list holds 32767 records already, or memory has run out:
//     one line with the reason and the line number goes to standard error.
yax_cfg* read_xml_cfg(const char* path) noexcept;

// Reads a document in memory in the same way: `length` bytes (at least 1) at `document`, which are
// not changed and stay the caller's. What follows the document element is not looked at: where
// `end` is given, a success sets it to the number of bytes up to the end of that element, and a
// failure leaves it as it was.
yax_cfg* parse_xml_cfg(const char* document, std::int32_t length,
                       std::int32_t* end = nullptr) noexcept;

// The handler of every element of a read; its state is the top of the parser's user-data stack.
SimpleXmlTagHandler handler(SimpleXmlParser* parser, std::int32_t event, const char* name,
                            const char* attribute_name, const char* value);

}  // namespace ruvex
