#include "poll_progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

#include "bus/point_view.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

std::string remaining_time(std::chrono::steady_clock::duration taken, std::size_t done,
                           std::size_t points) {
  const auto taken_ms = std::chrono::duration_cast<std::chrono::milliseconds>(taken).count();
  const auto left = static_cast<std::int64_t>(points - done);
  const std::int64_t seconds = taken_ms * left / static_cast<std::int64_t>(done) / 1000;
  return message("  ", seconds / 60, ":", seconds % 60 < 10 ? "0" : "", seconds % 60, " left");
}

}  // namespace

poll_progress::poll_progress(const poll_state& state, std::size_t points, bool is_wanted) noexcept
    : state_(state),
      points_(points),
      is_shown_(is_wanted && ::isatty(STDERR_FILENO) == 1),
      start_(std::chrono::steady_clock::now()) {}

// To the start of the line, and erased to its end (ECMA-48: EL).
poll_progress::~poll_progress() {
  if (is_on_screen_) std::fputs("\r\033[K", stderr);
}

void poll_progress::show() {
  const unit_cfg* const unit = state_.unit;
  if (!is_shown_ || unit == nullptr) return;
  const std::size_t done = state_.done;
  const auto taken = std::chrono::steady_clock::now() - start_;
  std::string name;
  append_unit(name, *unit);
  std::string line = "\r";
  line += "unit ";
  append_visible(line, name);
  line += message("  ", done, "/", points_, "  ", state_.failed.load(), " failed");
  if (done != 0 && done <= points_) line += remaining_time(taken, done, points_);
  line += "\033[K";
  std::fputs(line.c_str(), stderr);
  is_on_screen_ = true;
}

}  // namespace ruvex
