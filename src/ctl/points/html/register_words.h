// Which registers of a table the points of a unit use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

// A point with a place in a table.
struct placed_point {
  const chn_cfg* chn;
  std::size_t number;  // of the point on the page
  register_class table;
  std::int32_t offset;
  std::uint32_t mask;  // 0: the whole value
  bool is_wide;        // of two registers
};

// A register or a bit that points use.
struct used_word {
  std::int32_t offset;
  const placed_point* lead;  // of its points the one to be shown; where it begins one register
                             // before, this is its second one
  std::size_t users;
  std::uint32_t bits;  // of the 16 those for which points have a mask
  bool is_clash;       // check calls it repeated or overlapping
};

// The points of `unit` that have a place, by table and offset. The first point of the unit has the
// number `first`.
std::vector<placed_point> placed_points(const unit_cfg& unit, std::size_t first);

// The words that points of one table use, by offset. `from` to `end` are its points, in the order
// that placed_points gives; they outlive the words.
std::vector<used_word> words_of(const placed_point* from, const placed_point* end);

}  // namespace ruvex
