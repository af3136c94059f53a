// What check finds in a mapping file, for those who show its points.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "report/rules.h"

namespace ruvex {

class point_findings {
 public:
  // Examines the content of a mapping file.
  explicit point_findings(std::string_view content);

  // Those of a line that adds a point, by column.
  std::span<const finding> of_line(std::int64_t line) const noexcept;

  // Those about the file, and those of lines without a point.
  const std::vector<finding>& others() const noexcept { return others_; }

  // How many there are of a severity.
  std::size_t count(severity level) const noexcept;

 private:
  std::vector<finding> of_points_;  // by line
  std::vector<finding> others_;
};

}  // namespace ruvex
