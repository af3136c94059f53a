// Output in large blocks, with one bound check for a whole run of small pieces.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

namespace ruvex {

// Gathers bytes in `storage` and hands them to `stream` a block at a time. The first failed write
// is remembered and everything after it is dropped. What has not been flushed when the object goes
// is lost, so its owner flushes it last. Neither the storage nor the stream is owned.
class block_out {
 public:
  block_out(std::FILE* stream, std::span<char> storage) noexcept
      : stream_(stream), begin_(storage.data()), at_(begin_), end_(begin_ + storage.size()) {}
  block_out(const block_out&) = delete;
  block_out& operator=(const block_out&) = delete;

  // Room for `bound` bytes, which is at most the storage's size. Fill it from the front, then call
  // commit() with the place behind the last byte that counts.
  char* reserve(std::size_t bound) noexcept {
    if (static_cast<std::size_t>(end_ - at_) < bound) flush();
    return at_;
  }
  void commit(char* end) noexcept { at_ = end; }

  void put(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
      if (at_ == end_) flush();
      const std::size_t room = static_cast<std::size_t>(end_ - at_);
      const std::size_t count = bytes.size() < room ? bytes.size() : room;
      std::memcpy(at_, bytes.data(), count);
      at_ += count;
      bytes.remove_prefix(count);
    }
  }

  void flush() noexcept {
    const auto count = static_cast<std::size_t>(at_ - begin_);
    at_ = begin_;
    if (count == 0 || error_ != 0) return;
    errno = 0;
    if (std::fwrite(begin_, 1, count, stream_) != count) error_ = errno != 0 ? errno : EIO;
  }

  // The errno of the first write that failed; 0 when none has.
  int error() const noexcept { return error_; }

 private:
  std::FILE* stream_;
  char* begin_;
  char* at_;
  char* end_;
  int error_ = 0;
};

}  // namespace ruvex
