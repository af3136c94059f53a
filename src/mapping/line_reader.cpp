#include "ruvex/mapping/line_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ruvex {

line_result line_splitter::next(std::string_view& line) noexcept {
  const std::size_t left = rest().size();
  if (left == 0) return line_result::end;
  const void* newline = std::memchr(at_, '\n', std::min(left, limit_));
  if (newline == nullptr && left > limit_) return line_result::too_long;
  const char* const end = newline != nullptr ? static_cast<const char*>(newline) + 1 : end_;
  line = {at_, static_cast<std::size_t>(end - at_)};
  at_ = end;
  const bool has_nul = std::memchr(line.data(), '\0', line.size()) != nullptr;
  return has_nul ? line_result::holds_nul : line_result::line;
}

bool line_splitter::skip_line() noexcept {
  const std::size_t newline = rest().find('\n');
  at_ = newline == std::string_view::npos ? end_ : at_ + newline + 1;
  return newline != std::string_view::npos;
}

// The block then holds a whole line, or more than a line may have, or the end of the file. So the
// splitter never mistakes the end of the block for the end of a line, and a line of any length
// needs no second block. The start of a line that the last block has cut is moved, once a block;
// every other line is handed out where it was read.
void line_reader::refill() noexcept {
  const std::string_view kept = lines_.rest();
  if (!kept.empty()) std::memmove(block_.data(), kept.data(), kept.size());
  std::size_t filled = kept.size();
  while (!at_end_ && filled <= limit_) {
    const ssize_t count = read_(descriptor_, block_.data() + filled, block_.size() - filled);
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      at_end_ = true;
      error_ = count < 0 ? errno : 0;
    }
  }
  lines_ = line_splitter({block_.data(), filled}, limit_);
}

line_result line_reader::next(std::string_view& line) noexcept {
  if (!at_end_ && lines_.rest().size() <= limit_) refill();
  return lines_.next(line);
}

void line_reader::skip_line() noexcept {
  while (!lines_.skip_line() && !at_end_) refill();
}

}  // namespace ruvex
