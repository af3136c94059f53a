// How often something was done to the cells of a sheet, and the first of it.
#pragma once

#include <cstddef>
#include <string>

#include "text/cells.h"

namespace ruvex {

struct tally {
  std::size_t count = 0;
  text_place place = {};  // of the first cell
  std::string what;       // for people
};

// Tells a tally on standard error, unless its count is 0. `kind` is that of the message.
void tell(const char* path, const char* kind, const tally& done);

}  // namespace ruvex
