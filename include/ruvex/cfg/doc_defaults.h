// The defaults of documents and units, and the factory document.
#pragma once

#include <cstdint>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

// The names of the channels that report on the controller itself.
extern const char* const chn_name[6];

// Fills a document with the system defaults. The caller passes a zero-filled record: `bac_rpm`,
// which has no default, and the list of units are not changed.
void init_yax_cfg(yax_cfg* doc) noexcept;

// Makes a unit and links it into the list of `doc`. Its address is one above the largest address of
// the document, and the instances of its channels follow the largest instance of the document.
//
//   pos   the position, from 0, of the unit that the new one follows. In an empty document `pos` is
//         0 and the new unit becomes the head. In any other a negative `pos` counts as 0, so the
//         head stays the head
//   type  a value of chk_unit_type: 0 (MODBUS) and 2 (VIRTUAL) give a unit without channels, 1
//         (YAX_TYPE1) gives one with its eight standard channels
//
// Returns the unit, which the document owns. Returns null, and the document is not changed, when
// `type` is another value, when the address would exceed 247 or an instance 2^31 - 1, when the list
// has no position `pos` or holds 32767 units, or when memory has run out.
unit_cfg* add_unit_cfg(yax_cfg* doc, std::int32_t pos, std::int32_t type) noexcept;

// The factory document: the defaults, a type-1 unit, a unit of virtual points for the user and one
// for the system. The caller owns it (yax_cfg_ptr); null when memory has run out.
yax_cfg* make_default_yax_cfg() noexcept;

}  // namespace ruvex
