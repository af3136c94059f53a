// Changing the shape of a configuration: deleting, moving, copying.
//
// The operations rely on the lists' invariants (records.h) and check nothing else: a record belongs
// to the owner that is named with it. After a deletion every pointer to the record is invalid.
#pragma once

#include <memory>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Takes the channel out of the unit's list, counts it off and releases it.
void del_chn_cfg(unit_cfg* unit, chn_cfg* chn) noexcept;

// Releases the unit's channels, takes the unit out of its list and releases it. The document is not
// touched: beforehand the caller moves `unit_list` on when the unit is its head, and counts it off.
void del_unit_cfg(unit_cfg* unit) noexcept;

// Releases the document with all its units and channels. Null is allowed.
void del_yax_cfg(yax_cfg* doc) noexcept;

// Owns a document.
struct yax_cfg_delete {
  void operator()(yax_cfg* doc) const noexcept { del_yax_cfg(doc); }
};
using yax_cfg_ptr = std::unique_ptr<yax_cfg, yax_cfg_delete>;

// Owns a unit that is in no list, whatever its links name, with its channels.
struct unit_cfg_delete {
  void operator()(unit_cfg* unit) const noexcept;
};
using unit_cfg_ptr = std::unique_ptr<unit_cfg, unit_cfg_delete>;

// Moves the record one place towards the head of its list: 0; -1, and nothing has changed, when it
// is the head. Only links change. The owner's head is not touched: when the record has become the
// first, the caller sets the head to it.
int swap_chn_cfg(chn_cfg* chn) noexcept;
int swap_unit_cfg(unit_cfg* unit) noexcept;

// A copy of the unit with copies of all its channels, owned by the caller; null when memory has run
// out. Its `prev` and `next` are the source's, until the caller links it.
unit_cfg* copy_unit_cfg(const unit_cfg* unit) noexcept;

// A copy of the document with copies of all its units and channels, owned by the caller; null when
// memory has run out.
yax_cfg* copy_yax_cfg(const yax_cfg* doc) noexcept;

}  // namespace ruvex
