// Lines of a file, read in large blocks and handed out without copying.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace ruvex {

// Reads lines from a descriptor. A line is looked for in one block, so what is longer than a line
// may be is noticed without reading it to its end.
class line_reader {
 public:
  // `descriptor` is open for reading and stays the caller's. `limit` is the length of the longest
  // line, its newline included; it is below the block size.
  line_reader(int descriptor, std::size_t limit) noexcept
      : descriptor_(descriptor), limit_(limit) {}
  line_reader(const line_reader&) = delete;
  line_reader& operator=(const line_reader&) = delete;

  enum class result { line, too_long, holds_nul, end };

  // Gets the next line, with its newline where it has one; the last line of a file may have none.
  // `line` is valid until the next call; it is set by `line` and `holds_nul`. A read error is the
  // end. Behind a line that is too long only skip_line() may be called.
  result next(std::string_view& line) noexcept;

  // The errno of the read that failed and so made the end; 0 when nothing failed.
  int error() const noexcept { return error_; }

  // Passes over a line that is too long, its newline included.
  void skip_line() noexcept;

 private:
  void refill() noexcept;

  static constexpr std::size_t block_size = 65536;

  int descriptor_;
  std::size_t limit_;
  const char* at_ = nullptr;
  const char* end_ = nullptr;
  bool at_end_ = false;
  int error_ = 0;
  std::array<char, block_size> block_;
};

}  // namespace ruvex
