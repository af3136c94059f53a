// Blank cells that stand for the text above them, as merged cells do in an export.
#pragma once

#include <array>
#include <bitset>
#include <optional>
#include <string>
#include <string_view>

#include "sources.h"
#include "tally.h"

namespace ruvex {

using source_set = std::bitset<max_sources>;

// The sources with these names, separated by commas. Nothing when one is none that may be filled:
// only what whole groups of points have in common may be.
std::optional<source_set> parse_fill(std::string_view list) noexcept;

class fill_down {
 public:
  explicit fill_down(const source_set& chosen) noexcept : chosen_(chosen) {}

  // Puts the text of the last point that had one in the place of each blank source of a point. It
  // lives until the next call. Without a text above, the source stays blank.
  void put(field_sources& sources);

  // What was filled so far.
  const tally& filled() const noexcept { return filled_; }

 private:
  source_set chosen_;
  std::array<std::string, max_sources> above_;
  tally filled_;
};

}  // namespace ruvex
