// How far the polling has come, on a terminal.
#pragma once

#include <chrono>
#include <cstddef>

#include "unit_reader.h"

namespace ruvex {

class poll_progress {
 public:
  // `points` are to be polled. Nothing is shown but where standard error is a terminal and
  // `is_wanted`.
  poll_progress(const poll_state& state, std::size_t points, bool is_wanted) noexcept;
  ~poll_progress();  // takes the line away
  poll_progress(const poll_progress&) = delete;
  poll_progress& operator=(const poll_progress&) = delete;

  // Shows the state: "unit 7  312/840  2 failed  1:40 left".
  void show();

 private:
  const poll_state& state_;
  const std::size_t points_;
  const bool is_shown_;
  bool is_on_screen_ = false;
  const std::chrono::steady_clock::time_point start_;
};

}  // namespace ruvex
