// The defaults of documents and units, and the factory document.
#pragma once

#include <cstdint>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

// The names of the channels that report on the controller itself.
extern const char* const chn_name[6];

// Fills a document with the system defaults. `doc` is zero-filled beforehand; its units are not
// touched, and `bac_rpm` stays empty.
void init_yax_cfg(yax_cfg* doc) noexcept;

// Makes a unit and links it after the unit at position `pos`, counted from 0 (0 too in an empty
// document, where it becomes the head; a negative `pos` counts as 0 in a document that has units).
// `type` is a value of chk_unit_type: 0 (MODBUS) and 2 (VIRTUAL) give a unit without channels, 1
// (YAX_TYPE1) one with its eight standard channels. The unit's address is one above the largest of
// the document, and its channels' instances follow the largest instance of the document.
//
// Returns the unit, which the document owns. Null, and the document stays as it was, when the type
// is another one, when the address would exceed 247 (which is looked at in a document that has
// units) or an instance 2^31 - 1, when the list has no position `pos` or holds 32767 units, and
// when memory has run out.
unit_cfg* add_unit_cfg(yax_cfg* doc, std::int32_t pos, std::int32_t type) noexcept;

// The factory document: the defaults, a type-1 unit, a unit of virtual points for the user and one
// for the system. The caller owns it (yax_cfg_ptr); null when memory has run out.
yax_cfg* make_default_yax_cfg() noexcept;

}  // namespace ruvex
