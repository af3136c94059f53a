// Where points stand in their mapping file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "ruvex/cfg/records.h"

namespace ruvex {

// The line of each point, for those who want it: 16 bytes a point beside its record.
class point_lines {
 public:
  void add(const chn_cfg* chn, std::int64_t line) { rows_.push_back({chn, line}); }

  // To be called once, when every point has been added, before the first is sought.
  void sort() { std::ranges::sort(rows_, std::less<>(), &row::chn); }

  // The line of a point, from 1; 0 where it has none, as in an XML file.
  std::int64_t line_of(const chn_cfg& chn) const noexcept {
    const auto found = std::ranges::lower_bound(rows_, &chn, std::less<>(), &row::chn);
    return found == rows_.end() || found->chn != &chn ? 0 : found->line;
  }

 private:
  struct row {
    const chn_cfg* chn;
    std::int64_t line;
  };
  std::vector<row> rows_;
};

}  // namespace ruvex
