// What must hold, whatever the input.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace ruvex {

inline void require(bool holds, const char* what) {
  if (holds) return;
  ::dprintf(STDERR_FILENO, "violated: %s\n", what);  // a target may have silenced the stream
  std::abort();
}

}  // namespace ruvex
