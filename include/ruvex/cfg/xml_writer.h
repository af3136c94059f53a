// The configuration document, written.
//
// There are two forms: a whole document (declaration, root element `yax_cfg`, settings, units) and
// a unit file, which is a sequence of `unit_cfg` elements and nothing else. In both, a line holds
// one tag or one element, starts with one TAB for each level and ends with CR LF. Settings are
// written byte for byte: nothing is escaped or checked, and an empty setting gives an empty
// element. The tables of fields.h say what stands where.
//
// The process has one indentation level and one last error, so it writes one document at a time.
// Reads may run at the same time.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ruvex/cfg/records.h"

namespace ruvex {

// The indentation level, in TABs. 0 at program start. The writers change it, as they say below.
extern unsigned cur_tab;

// How the last call of write_xml_unit_cfg or write_xml_cfg ended: 0 when the file is whole, in its
// place and on the disk, otherwise the errno of the first step that failed.
extern int xml_write_error;

// The deepest indentation that is written; a higher level shows as this many TABs.
inline constexpr unsigned max_tabs = 127;

// Makes `buffer` a text of one TAB per level of cur_tab and returns it.
char* tab_str(char (&buffer)[max_tabs + 1]) noexcept;

enum print_mode : int { print_reset = 0, print_start = 1, print_end = 2, print_element = 3 };

// Writes one line about the tag `tag_id` (a row of tag_str) at the current indentation:
//
//   print_reset    sets cur_tab to 0 and writes nothing
//   print_start    the start tag
//   print_end      the end tag
//   print_element  the element with `text` as its content; nothing when `text` is null
//
// Any other mode, and an id that no tag has, writes nothing. A failed write shows in the stream
// (ferror).
void print_tag(std::FILE* stream, std::int32_t tag_id, int mode, const char* text) noexcept;

// Writes the elements of a channel, each a line at the current indentation.
void print_chn_data(std::FILE* stream, const chn_cfg* chn) noexcept;

// Writes the unit `units` and those that follow it, with their channels, to the file `path`; a null
// `units` gives an empty file. cur_tab is raised by one, to the level of the units, and stays
// raised.
//
// A regular file appears whole or not at all: it is written without a name, or under another one in
// the same folder (.ruvex-XXXXXXXX), brought to the disk, and put in the place of an earlier one,
// whose permission bits it takes over. When that fails, or the process ends before, the earlier one
// is still there. A link at the end of the path is followed. Written where they stand are devices,
// FIFOs, descriptors (/dev/stdout), files that are mounted, and files in folders that take no new
// ones; of such a file nothing is left when it does not take every byte.
//
// Returns 0 when the file was opened; xml_write_error then tells whether it was written.
// Returns 2 when the file could not be opened, and then cur_tab is not changed.
int write_xml_unit_cfg(const unit_cfg* units, const char* path) noexcept;

// Writes the whole document to the file `path`, in the same way. Units of the types "MODBUS" and
// "MODBUS_TCP" are left out, and so are the channels of a "VIRTUAL" unit with the address "9",
// except the first. cur_tab is 2 afterwards. The results are those of write_xml_unit_cfg.
int write_xml_cfg(const yax_cfg* doc, const char* path) noexcept;

}  // namespace ruvex
