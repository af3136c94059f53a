// What tidy refuses in a sheet, told as it is found.
#pragma once

#include <cstddef>
#include <vector>

#include "progress.h"
#include "text/cells.h"

namespace ruvex {

class refusals {
 public:
  // `path` is shown before every message; where `shown` is given, it is hidden before. Both outlive
  // this object.
  explicit refusals(const char* path, progress* shown = nullptr) noexcept
      : path_(path), shown_(shown) {}

  // Prints the message, an error, with its place on standard error. Format and arguments are those
  // of printf.
  [[gnu::format(printf, 3, 4)]] void add(const text_place& place, const char* format, ...) noexcept;

  // How many there were.
  std::size_t count() const noexcept { return count_; }

 private:
  const char* path_;
  progress* shown_;
  std::size_t count_ = 0;
};

// Adds the cells of a row that are not well formed. Whether there were any.
bool refuse_defects(const std::vector<cell>& row, refusals& refused) noexcept;

}  // namespace ruvex
