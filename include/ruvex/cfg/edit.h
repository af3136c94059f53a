// Changing the shape of a configuration: deleting, moving, copying.
//
// The operations rely on lists in good order (records.h) and on a record that belongs to the owner
// named with it. They do not check this. After a deletion every pointer to the record is invalid.
#pragma once

#include <memory>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Removes the channel from the unit's list, lowers `chn_count` by one and releases the channel.
void del_chn_cfg(unit_cfg* unit, chn_cfg* chn) noexcept;

// Removes the unit from its list and releases it with its channels. The document's `unit_list` and
// `unit_count` are not changed. Before the call the caller sets `unit_list` to the next unit, if
// this one is the head, and lowers `unit_count` by one.
void del_unit_cfg(unit_cfg* unit) noexcept;

// Releases the document with all its units and channels. Null is allowed.
void del_yax_cfg(yax_cfg* doc) noexcept;

// Owns a document.
struct yax_cfg_delete {
  void operator()(yax_cfg* doc) const noexcept { del_yax_cfg(doc); }
};
using yax_cfg_ptr = std::unique_ptr<yax_cfg, yax_cfg_delete>;

// Owns a unit and its channels. The unit is in no list; its `prev` and `next` are not followed.
struct unit_cfg_delete {
  void operator()(unit_cfg* unit) const noexcept;
};
using unit_cfg_ptr = std::unique_ptr<unit_cfg, unit_cfg_delete>;

// Releases the unit, those that follow it, and the channels of all of them; its `prev` is not
// followed. The owner of a list passes its head. Null is allowed.
void del_unit_list(unit_cfg* head) noexcept;

// Owns a list of units that belongs to no document.
struct unit_list_delete {
  void operator()(unit_cfg* head) const noexcept { del_unit_list(head); }
};
using unit_list_ptr = std::unique_ptr<unit_cfg, unit_list_delete>;

// Moves the record one place towards the head of its list. Returns 0, or -1 when the record is the
// head, and then nothing has changed. Only links change. When the record has become the first, the
// caller sets the owner's head to it.
int swap_chn_cfg(chn_cfg* chn) noexcept;
int swap_unit_cfg(unit_cfg* unit) noexcept;

// A copy of the unit with copies of all its channels. The caller owns it (unit_cfg_ptr). Its `prev`
// and `next` are those of the source until the caller links it. Null when memory has run out.
unit_cfg* copy_unit_cfg(const unit_cfg* unit) noexcept;

// A copy of the document with copies of all its units and channels. The caller owns it
// (yax_cfg_ptr). Null when memory has run out.
yax_cfg* copy_yax_cfg(const yax_cfg* doc) noexcept;

}  // namespace ruvex
