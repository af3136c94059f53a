// What is refused in a file, told as it is found.
#pragma once

#include <cstddef>

#include "ctl/cells.h"

namespace ruvex {

class refusals {
 public:
  // `path` is shown before every message; it outlives this object.
  explicit refusals(const char* path) noexcept : path_(path) {}

  // Prints "PATH:LINE:COLUMN: error: " and the message on standard error. Format and arguments are
  // those of printf.
  [[gnu::format(printf, 3, 4)]] void add(const text_place& place, const char* format, ...) noexcept;

  // How many there were.
  std::size_t count() const noexcept { return count_; }

 private:
  const char* path_;
  std::size_t count_ = 0;
};

}  // namespace ruvex
