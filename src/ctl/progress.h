// A line on the terminal that says how far a long run has come.
#pragma once

#include <chrono>
#include <cstdint>

namespace ruvex {

class progress {
 public:
  // `path` is shown before the count. Nothing is shown but on a terminal, after a second of work.
  explicit progress(const char* path) noexcept;
  ~progress() { hide(); }
  progress(const progress&) = delete;
  progress& operator=(const progress&) = delete;

  // Says that so many lines have been read.
  void at(std::int64_t lines) noexcept {
    constexpr std::int64_t lines_between_looks = 4096;
    if (is_shown_ && lines % lines_between_looks == 0) look(lines);
  }

  // Takes the line away, before something else is printed and at the end.
  void hide() noexcept;

 private:
  void look(std::int64_t lines) noexcept;

  const char* path_;
  bool is_shown_;
  bool is_on_screen_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace ruvex
