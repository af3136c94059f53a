// Lines on their way to a descriptor whose reader may have stopped.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "output.h"

namespace ruvex {

// A thread of its own writes them, so that nobody who tells something waits for a reader. Any
// thread may tell.
class line_writer {
 public:
  // What is written in place of lines that were dropped.
  using dropped_text = std::string (*)(std::uint64_t lines);

  line_writer(int descriptor, dropped_text tell_dropped);
  ~line_writer();  // end()
  line_writer(const line_writer&) = delete;
  line_writer& operator=(const line_writer&) = delete;

  // Takes a line. Where too much waits for the reader, it is dropped and counted.
  void put(std::string_view line);

  // Waits until all lines have been written, or the descriptor fails. No line is to be put from
  // then on; the output is the caller's to go on with.
  output& end();

 private:
  void run();
  bool take(std::string& lines);

  const dropped_text tell_dropped_;
  output out_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string waiting_;
  std::uint64_t dropped_ = 0;  // after those that wait
  bool is_over_ = false;
  std::thread thread_;
};

}  // namespace ruvex
