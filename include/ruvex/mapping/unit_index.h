// Where units and channels go: the order of the unit list and of every unit's channels.
//
// Units are found, and their places in the list, through a balanced tree; a small table of units
// found before spares most of the walks. Channels are noted in the order in which they arrive and
// linked in register order once, at the end. So no order of lines makes the work grow faster than
// n log n.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/grown_block.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

// A unit of the list, with what the reader needs to know of it. Owned by the index.
struct unit_slot {
  std::string_view ip_address;  // the unit's own text; empty for a unit on the serial line
  std::int64_t address;
  unit_cfg* unit;              // owned by the list
  std::uint32_t last_arrival;  // the number of its last channel; 0 while it has none
  unit_slot* next_slot;
  const unit_slot* successor;  // the next larger one seen on the way to this one
};

class unit_index {
 public:
  // An index over the list that starts at `list`, which is empty and which it fills. The records
  // belong to the list and outlive the index.
  explicit unit_index(unit_cfg*& list) noexcept;
  ~unit_index();
  unit_index(const unit_index&) = delete;
  unit_index& operator=(const unit_index&) = delete;

  // The unit with this IP address and the same number as its address, made if there is none: a
  // serial-line unit sorts by address among its kind, a TCP unit by IP address and then address; a
  // unit greater than all of its kind goes to the end of the list. Both texts fit their settings.
  // Null when memory has run out; the list is unchanged then.
  unit_slot* find_or_add(const unit_text& text) noexcept;

  // Gives `chn`, whose reference is final and whose mask is `mask`, to the unit, which has room for
  // it, and counts it there; link_channels() links it. False, with nothing changed but for `chn`
  // being released, when memory has run out.
  bool append(unit_slot& slot, record_ptr<chn_cfg> chn, std::int32_t mask) noexcept;

  // Links the channels of every unit in ascending order of register reference and then of mask,
  // equal ones in the order of their arrival. Called once, after the last append(). It cannot fail.
  void link_channels() noexcept;

 private:
  struct arrival {
    std::int64_t reference;
    std::int32_t mask;
    std::uint32_t earlier;  // the number of the channel before it in its unit; 0 for none
    chn_cfg* chn;
  };
  struct place {
    std::int64_t reference;
    std::int32_t mask;
    std::uint32_t number;
    chn_cfg* chn;
  };

  unit_slot* find(unit_slot& wanted) noexcept;
  unit_slot* add(const unit_slot& wanted) noexcept;
  void link(unit_cfg* unit, unit_cfg* successor) noexcept;
  void link_channels(unit_slot& slot) noexcept;

  static constexpr unsigned recent_bits = 16;

  unit_cfg*& list_;
  unit_cfg* last_unit_ = nullptr;
  void* tree_ = nullptr;
  unit_slot* slots_ = nullptr;
  std::uint32_t arrived_ = 0;
  grown_block<arrival> arrivals_;  // by number; 0 is nobody's
  grown_block<place> places_;      // room for the channels of the largest unit
  unit_slot** recent_;             // by hash; null where there was no memory for it
};

}  // namespace ruvex
