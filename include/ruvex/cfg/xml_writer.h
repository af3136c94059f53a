// The configuration document, written.
//
// Two forms: a whole document (declaration, root element `yax_cfg`, settings, units) and a unit
// file, which is a bare sequence of `unit_cfg` elements. In both a line holds one tag or one
// element, starts with one TAB per level and ends with CR LF; settings are written byte for byte,
// none is escaped or checked, and an empty setting is an empty element. What stands where is
// fields.h's.
//
// The indentation level and the last error are kept for the whole process, so one document is
// written at a time; reading may go on beside it.
#pragma once

#include <cstdint>
#include <cstdio>

#include "ruvex/cfg/records.h"

namespace ruvex {

// The indentation level, in TABs. 0 at program start; the writers leave it changed, as they say.
extern unsigned cur_tab;

// The errno of the first write of the latest document that failed, the opening and closing of its
// file included; 0 when every byte was handed to the file. Set anew by each of the two writers.
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
// Any other mode, and an id that is no tag's, writes nothing. Whether the line reached the stream
// is the stream's to tell (ferror).
void print_tag(std::FILE* stream, std::int32_t tag_id, int mode, const char* text) noexcept;

// Writes the 31 elements of a channel, each a line at the current indentation.
void print_chn_data(std::FILE* stream, const chn_cfg* chn) noexcept;

// Writes the units from `units` on, with their channels, to the file `path`, which is created or
// cut to length 0. No unit (a null `units`) gives an empty file. cur_tab is raised by one, which is
// the level of the units, and stays so. 0 when the file was opened, whatever became of the bytes
// (xml_write_error tells); 2 when it could not be opened, and then cur_tab stays as it was.
int write_xml_unit_cfg(const unit_cfg* units, const char* path) noexcept;

// Writes the whole document to the file `path`, which is created or cut to length 0. Units of the
// types "MODBUS" and "MODBUS_TCP" are left out, and of a "VIRTUAL" unit with the address "9" all
// channels but the first. cur_tab is 2 afterwards. The results are those of write_xml_unit_cfg.
int write_xml_cfg(const yax_cfg* doc, const char* path) noexcept;

}  // namespace ruvex
