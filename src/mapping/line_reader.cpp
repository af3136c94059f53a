#include "ruvex/mapping/line_reader.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ruvex {
namespace {

ssize_t read_some(int descriptor, char* to, std::size_t room) noexcept {
  ssize_t count;
  do {
    count = ::read(descriptor, to, room);
  } while (count < 0 && errno == EINTR);
  return count;
}

}  // namespace

// Keeps what has not been handed out, and reads until a whole line must be there.
void line_reader::refill() noexcept {
  const auto kept = static_cast<std::size_t>(end_ - at_);
  if (kept != 0) std::memmove(block_.data(), at_, kept);
  at_ = block_.data();
  char* fill = block_.data() + kept;
  char* const stop = block_.data() + block_.size();
  const char* const enough = block_.data() + limit_ + 1;
  while (!at_end_ && fill < enough) {
    const ssize_t count = read_some(descriptor_, fill, static_cast<std::size_t>(stop - fill));
    if (count <= 0) {
      at_end_ = true;
      error_ = count < 0 ? errno : 0;
    } else {
      fill += count;
    }
  }
  end_ = fill;
}

line_reader::result line_reader::next(std::string_view& line) noexcept {
  if (!at_end_ && static_cast<std::size_t>(end_ - at_) <= limit_) refill();
  const auto available = static_cast<std::size_t>(end_ - at_);
  if (available == 0) return result::end;
  const auto* newline =
      static_cast<const char*>(std::memchr(at_, '\n', available < limit_ ? available : limit_));
  if (newline == nullptr && available > limit_) return result::too_long;
  const char* const behind = newline != nullptr ? newline + 1 : end_;
  line = {at_, static_cast<std::size_t>(behind - at_)};
  at_ = behind;
  return std::memchr(line.data(), '\0', line.size()) == nullptr ? result::line : result::holds_nul;
}

void line_reader::skip_line() noexcept {
  const void* newline = nullptr;
  while (newline == nullptr) {
    if (at_ == end_) refill();
    if (at_ == end_) return;
    newline = std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_));
    at_ = newline == nullptr ? end_ : static_cast<const char*>(newline) + 1;
  }
}

}  // namespace ruvex
