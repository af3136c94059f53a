#include "progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

using namespace std::chrono_literals;
using steady = std::chrono::steady_clock;

}  // namespace

progress::progress(const char* path) noexcept
    : path_(path), is_shown_(::isatty(STDERR_FILENO) == 1), next_(steady::now() + 1s) {}

void progress::look(std::int64_t lines) noexcept {
  const steady::time_point now = steady::now();
  if (now < next_) return;
  next_ = now + 200ms;
  std::string line = "\r";
  append_visible(line, path_);
  line += message(": ", lines, " lines");
  std::fputs(line.c_str(), stderr);
  is_on_screen_ = true;
}

// To the start of the line, and erased to its end (ECMA-48: EL).
void progress::hide() noexcept {
  if (is_on_screen_) std::fputs("\r\033[K", stderr);
  is_on_screen_ = false;
}

}  // namespace ruvex
