// What must hold, whatever the input.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace ruvex {

inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "violated: %s\n", what);
  std::abort();
}

}  // namespace ruvex
