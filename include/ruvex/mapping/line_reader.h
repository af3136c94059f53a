// Lines, handed out without copying: of bytes in memory, and of a file that is read in large
// blocks.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <string_view>

namespace ruvex {

enum class line_result {
  line,
  too_long,   // longer than the limit; only skip_line() passes it
  holds_nul,  // a line with a NUL byte
  end,
};

// Splits bytes into lines.
class line_splitter {
 public:
  // Lines of `bytes`, which outlive the splitter. `limit` is the length of the longest line, its
  // newline included.
  line_splitter(std::string_view bytes, std::size_t limit) noexcept
      : at_(bytes.data()), end_(bytes.data() + bytes.size()), limit_(limit) {}

  // Gets the next line, with its newline where it has one; the last line may have none. `line` is a
  // view into the bytes; it is set by `line` and `holds_nul`. After `too_long` only skip_line() may
  // be called. No more than `limit` bytes are looked at.
  line_result next(std::string_view& line) noexcept;

  // Passes over a line that is too long, its newline included. False, with nothing left, when the
  // bytes end before the newline.
  bool skip_line() noexcept;

  // The bytes that have not been handed out.
  std::string_view rest() const noexcept { return {at_, static_cast<std::size_t>(end_ - at_)}; }

 private:
  const char* at_;
  const char* end_;
  std::size_t limit_;
};

// Reads lines from a descriptor.
class line_reader {
 public:
  // Arguments and results are those of POSIX read().
  using read_function = ssize_t (*)(int descriptor, void* to, std::size_t room);

  // `descriptor` is open for reading and stays the caller's; `read` reads from it. `limit` is the
  // length of the longest line, its newline included, and is below the size of a block (65536).
  line_reader(int descriptor, std::size_t limit, read_function read = ::read) noexcept
      : descriptor_(descriptor), limit_(limit), read_(read), lines_({}, limit) {}
  line_reader(const line_reader&) = delete;
  line_reader& operator=(const line_reader&) = delete;

  // As line_splitter::next(); `line` is valid until the next call. An interrupted read is repeated;
  // a read that fails otherwise is the end.
  line_result next(std::string_view& line) noexcept;

  // Passes over a line that is too long, its newline included.
  void skip_line() noexcept;

  // The errno of the read that failed and so made the end; 0 when nothing failed.
  int error() const noexcept { return error_; }

 private:
  void refill() noexcept;

  static constexpr std::size_t block_size = 65536;

  int descriptor_;
  std::size_t limit_;
  read_function read_;
  line_splitter lines_;  // of the block
  bool at_end_ = false;
  int error_ = 0;
  std::array<char, block_size> block_;
};

}  // namespace ruvex
