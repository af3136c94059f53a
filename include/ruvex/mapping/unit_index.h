// Where units and channels go: the order of the unit list and of every unit's channels.
//
// Units are put in their places as they come, channels when the index goes. No order of the lines
// makes the work grow faster than n log n.
#pragma once

#include <cstdint>

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

// A unit of the list, as the index knows it. Owned by the index.
struct unit_slot {
  unit_cfg* unit;  // owned by the list
};

class unit_index {
 public:
  // An index over the list that starts at `list`, which is empty, outlives the index and is filled
  // by it. Units and channels belong to the list. It may be walked when the index has gone.
  explicit unit_index(unit_cfg*& list) noexcept;

  // Links the channels of every unit in ascending order of register reference and then of mask,
  // equal ones in the order of their arrival. It cannot fail.
  ~unit_index();

  unit_index(const unit_index&) = delete;
  unit_index& operator=(const unit_index&) = delete;

  // The unit with this IP address and the same number as its address, made if there is none: a
  // serial-line unit sorts by address among its kind, a TCP unit by IP address and then address; a
  // unit greater than all of its kind goes to the end of the list. Both texts fit their settings.
  // Null when memory has run out; the list is unchanged then.
  unit_slot* find_or_add(const unit_text& text) noexcept;

  // Gives `chn`, whose reference is final and whose mask is `mask`, to the unit, which has room for
  // it, and counts it there. False, with nothing changed except that `chn` is released, when memory
  // has run out.
  bool append(unit_slot& slot, record_ptr<chn_cfg> chn, std::int32_t mask) noexcept;

 private:
  class content;

  content* content_;  // null where there was no memory for it
};

}  // namespace ruvex
