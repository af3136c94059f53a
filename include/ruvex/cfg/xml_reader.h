// The configuration document, read back.
//
// A document that the writer wrote reads back with the same texts, with two exceptions: what the
// writer leaves out is missing, and a setting of the document that was empty has its default.
//
// Every read has a state of its own, so several reads, and a write, may run at the same time.
#pragma once

#include <cstdint>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/records.h"
#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Other code may put a text here. It is printed instead of the reader's own reason when the reader
// refuses the structure of a document. Empty at program start; the reader does not write into it.
extern char yax_xml_parse_error[128];

// Reads the document file `path` into a new document, which the caller owns (yax_cfg_ptr). The
// settings of the document begin with their defaults, and the file replaces those that it gives.
// Units and channels have only what the file gives. Texts are decoded and stored without a check.
// An element or attribute whose name is no tag is ignored, together with its content.
//
// Returns null, and everything is released, when
//   - the file cannot be read whole, is empty or is larger than 2^31 - 1 bytes, or memory has run
//     out before the parse: nothing is printed;
//   - the XML is malformed, a known element stands where it does not belong, a text is longer than
//     its setting or holds a NUL byte, a list holds 32767 records already, or memory has run out:
//     one line with the reason and the line number goes to standard error.
yax_cfg* read_xml_cfg(const char* path) noexcept;

// Reads a document in memory in the same way: `length` bytes (at least 1) at `document`, which are
// not changed and stay the caller's. The reader stops at the end of the document element and
// ignores what follows. On success `*end`, where `end` is given, becomes the number of bytes up to
// that place; on failure it is not changed.
yax_cfg* parse_xml_cfg(const char* document, std::int32_t length,
                       std::int32_t* end = nullptr) noexcept;

// The handler of every element of a read; its state is the top of the parser's user-data stack.
SimpleXmlTagHandler handler(SimpleXmlParser* parser, std::int32_t event, const char* name,
                            const char* attribute_name, const char* value);

}  // namespace ruvex
