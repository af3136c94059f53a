// What check finds in a file, for those who show its points.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "load.h"
#include "report/rules.h"

namespace ruvex {

class point_findings {
 public:
  // Examines what was loaded from `source`, which outlives the object.
  explicit point_findings(const file_source& source);

  // Those of a point, by place; it is the one with this number in its file, from 0.
  std::span<const finding> of_point(const chn_cfg& chn, std::size_t number) const noexcept;

  // Those about the file, and those about what adds no point.
  const std::vector<finding>& others() const noexcept { return others_; }

  // How many there are of a severity.
  std::size_t count(severity level) const noexcept;

 private:
  // Of a point with this key, or of none.
  void add(const std::vector<finding>& found, std::optional<std::int64_t> key);

  void examine_mapping();
  void examine_document();

  const file_source& source_;
  std::vector<finding> of_points_;
  std::vector<std::int64_t> keys_;  // of each of these the line of a mapping file, else the number
                                    // of the point; ascending
  std::vector<finding> others_;
};

}  // namespace ruvex
