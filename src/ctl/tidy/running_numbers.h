// The numbers that run from point to point, where columns have been chosen so.
#pragma once

#include <array>
#include <string>

#include "columns.h"
#include "refusals.h"
#include "sources.h"

namespace ruvex {

class running_numbers {
 public:
  // Puts the numbers of the next point into its sources; they live until the next call. An instance
  // that would be too large is added to `refused`.
  void put(const column_list& columns, field_sources& sources, refusals& refused);

 private:
  unsigned long count_ = 0;  // of the points so far
  std::array<std::string, max_sources> texts_;
};

}  // namespace ruvex
