// The configuration document and the unit file, read back.
//
// A document that the writer wrote reads back with the same texts, with two exceptions: what the
// writer leaves out is missing, and a setting of the document that was empty has its default. A
// unit file reads back with the same texts and is written the same again. The writer escapes
// nothing, so both hold where no text has a "&" or "<", nor an attribute a double quote.
//
// Every read has a state of its own, so several reads, and a write, may run at the same time.
#pragma once

#include <cstdint>
#include <optional>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/records.h"
#include "ruvex/cfg/text.h"
#include "ruvex/xml/parser_record.h"

namespace ruvex {

// Other code may put a text here. It is printed instead of the reader's own reason when the reader
// refuses the structure of a document. Empty at program start; the reader does not write into it.
extern char yax_xml_parse_error[128];

// How a read ended. A reader that is given one sets all of it except `prints`, whatever the result.
struct xml_read_report {
  text<128> reason = {};  // why the read failed; empty when it did not
  std::int32_t line = 0;  // the line, from 1, on which reading stopped; 0 when none was read
  int error = 0;          // the errno of the reason; 0 when it is not one of the system's
  // The element where yax_cfg was wanted, or unit_cfg in a unit file, has another name. A document
  // with an unknown element there is read all the same and has nothing but defaults.
  bool is_other_root = false;
  // Set by the caller: whether the reader prints its line about a failure, too.
  bool prints = true;
};

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
// In both cases `report`, where it is given, tells the reason.
yax_cfg* read_xml_cfg(const char* path, xml_read_report* report = nullptr) noexcept;

// Reads a document in memory in the same way: `length` bytes (at least 1) at `document`, which are
// not changed and stay the caller's. The reader stops at the end of the document element and
// ignores what follows. On success `*end`, where `end` is given, becomes the number of bytes up to
// that place; on failure it is not changed.
yax_cfg* parse_xml_cfg(const char* document, std::int32_t length, std::int32_t* end = nullptr,
                       xml_read_report* report = nullptr) noexcept;

// Reads the unit file `path`, which is a sequence of unit_cfg elements, into a new list. The caller
// owns it; it may be written, or become the list of a document. What stands in a unit is read by
// the rules of read_xml_cfg. An empty file gives a list of no units: a result that holds null.
//
// Everything up to the end of the file belongs to the list. White space, comments, processing
// instructions and DOCTYPE declarations may stand outside the units; text, any other declaration
// and any other element, an unknown one too, are refused.
//
// Returns no result, and everything is released, for the faults for which read_xml_cfg returns null
// (an empty file is none), for what stands outside the units, and when the file holds more bytes
// than its size says. What is printed and reported is the same.
std::optional<unit_list_ptr> read_xml_unit_cfg(const char* path,
                                               xml_read_report* report = nullptr) noexcept;

// Reads units in memory in the same way: `length` bytes (0 or more) at `units`, which are not
// changed and stay the caller's. `units` may be null when `length` is 0.
std::optional<unit_list_ptr> parse_xml_unit_cfg(const char* units, std::int32_t length,
                                                xml_read_report* report = nullptr) noexcept;

// The handler of every element of a read; its state is the top of the parser's user-data stack.
SimpleXmlTagHandler handler(SimpleXmlParser* parser, std::int32_t event, const char* name,
                            const char* attribute_name, const char* value);

}  // namespace ruvex
