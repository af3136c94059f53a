// Bytes on their way to standard output or standard error, in large blocks.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace ruvex {

// The first write that fails is remembered, and everything after it is dropped. The descriptor is
// not owned.
class output {
 public:
  explicit output(int descriptor = STDOUT_FILENO) noexcept : descriptor_(descriptor) {}
  ~output() { flush(); }
  output(const output&) = delete;
  output& operator=(const output&) = delete;

  void put(std::string_view bytes) {
    if (held_.size() + bytes.size() > block) flush();
    if (bytes.size() > block) {
      write(bytes);
    } else {
      held_ += bytes;
    }
  }

  // The characters of a line of the terminal that this is; 0 when it is none, or has no width.
  std::size_t terminal_width() const noexcept;

  // Writes what is held back.
  void flush() noexcept {
    write(held_);
    held_.clear();
  }

  // Whether a write has failed.
  bool has_failed() const noexcept { return error_ != 0; }

  // The same at the end of the output. Gives the errno of the first write that failed; 0 when every
  // byte has reached its place.
  int finish() noexcept {
    flush();
    return error_;
  }

 private:
  static constexpr std::size_t block = 65536;

  void write(std::string_view bytes) noexcept;

  const int descriptor_;
  int error_ = 0;
  std::string held_;
};

}  // namespace ruvex
