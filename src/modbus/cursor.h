// Bounded cursors over bytes: all bound checks of the codec stand here.
//
// A cursor that is asked for more than there is fails and stays failed: it then reads zeros, writes
// nothing and hands out null. Numbers are big-endian, as on the line; the host's byte order is for
// the words of a record alone (load_host, store_host).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ruvex {

template <class Word>
Word load_host(const std::uint8_t* from) noexcept {
  Word word;
  std::memcpy(&word, from, sizeof word);
  return word;
}

template <class Word>
void store_host(std::uint8_t* to, Word word) noexcept {
  std::memcpy(to, &word, sizeof word);
}

template <class Word>
Word load_big(const std::uint8_t* from) noexcept {
  Word word = 0;
  for (std::size_t at = 0; at < sizeof word; ++at) word = static_cast<Word>(word << 8 | from[at]);
  return word;
}

template <class Word>
void store_big(std::uint8_t* to, Word word) noexcept {
  for (std::size_t at = sizeof word; at > 0; word = static_cast<Word>(word >> 8)) {
    to[--at] = static_cast<std::uint8_t>(word);
  }
}

class byte_reader {
 public:
  // `size` bytes at `bytes`, which outlive the reader.
  byte_reader(const std::uint8_t* bytes, std::size_t size) noexcept : at_(bytes), left_(size) {}

  bool failed() const noexcept { return failed_; }
  std::size_t left() const noexcept { return left_; }
  const std::uint8_t* position() const noexcept { return at_; }

  // The next `count` bytes, and moves past them; null where that many are not left.
  const std::uint8_t* take(std::size_t count) noexcept {
    if (failed_ || count > left_) {
      failed_ = true;
      return nullptr;
    }
    const std::uint8_t* const taken = at_;
    at_ += count;
    left_ -= count;
    return taken;
  }

  template <class Word>
  Word big() noexcept {
    const std::uint8_t* const bytes = take(sizeof(Word));
    return bytes == nullptr ? Word{0} : load_big<Word>(bytes);
  }
  std::uint8_t u8() noexcept { return big<std::uint8_t>(); }
  std::uint16_t u16() noexcept { return big<std::uint16_t>(); }
  std::uint32_t u32() noexcept { return big<std::uint32_t>(); }

 private:
  const std::uint8_t* at_;
  std::size_t left_;
  bool failed_ = false;
};

class byte_writer {
 public:
  // Room for `size` bytes at `bytes`, which outlives the writer.
  byte_writer(std::uint8_t* bytes, std::size_t size) noexcept : at_(bytes), left_(size) {}

  bool failed() const noexcept { return failed_; }
  std::uint8_t* position() const noexcept { return at_; }

  // The place of the next `count` bytes, and moves past it; null where it does not fit.
  std::uint8_t* take(std::size_t count) noexcept {
    if (failed_ || count > left_) {
      failed_ = true;
      return nullptr;
    }
    std::uint8_t* const taken = at_;
    at_ += count;
    left_ -= count;
    return taken;
  }

  template <class Word>
  void big(Word word) noexcept {
    std::uint8_t* const place = take(sizeof word);
    if (place != nullptr) store_big(place, word);
  }
  void u8(std::uint8_t byte) noexcept { big(byte); }
  void u16(std::uint16_t word) noexcept { big(word); }
  void u32(std::uint32_t word) noexcept { big(word); }

 private:
  std::uint8_t* at_;
  std::size_t left_;
  bool failed_ = false;
};

}  // namespace ruvex
