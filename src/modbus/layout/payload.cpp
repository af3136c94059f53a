#include "payload.h"

#include <cstddef>
#include <cstring>

namespace ruvex {
namespace {

// The places of what is moved; null where it is not all there or does not fit. Both are known
// before a byte is written, since a payload that is refused leaves the other side as it was.
struct places {
  const std::uint8_t* from;
  std::uint8_t* to;

  places(byte_reader& in, std::size_t in_size, byte_writer& out, std::size_t out_size) noexcept
      : from(in.take(in_size)), to(from == nullptr ? nullptr : out.take(out_size)) {}
  explicit operator bool() const noexcept { return to != nullptr; }
};

bool copy(byte_reader& in, byte_writer& out, std::size_t size) noexcept {
  const places at(in, size, out, size);
  if (at) std::memcpy(at.to, at.from, size);
  return static_cast<bool>(at);
}

bool nothing(byte_reader&, byte_writer&, std::uint16_t) noexcept {
  return true;
}

bool copy_bytes(byte_reader& in, byte_writer& out, std::uint16_t count) noexcept {
  return copy(in, out, count);
}

constexpr std::size_t packed_size(std::uint16_t count) noexcept {
  return (std::size_t{count} + 7) / 8;
}

bool pack_bits(byte_reader& data, byte_writer& message, std::uint16_t count) noexcept {
  const places at(data, count, message, packed_size(count));
  if (!at) return false;
  // The unused bits of the last byte go on the line as 0, whatever the buffer held.
  std::memset(at.to, 0, packed_size(count));
  for (std::size_t bit = 0; bit < count; ++bit) {
    const unsigned mask = at.from[bit] != 0 ? 1U << bit % 8 : 0;
    at.to[bit / 8] = static_cast<std::uint8_t>(at.to[bit / 8] | mask);
  }
  return true;
}

bool unpack_bits(byte_reader& message, byte_writer& data, std::uint16_t count) noexcept {
  const places at(message, packed_size(count), data, count);
  if (!at) return false;
  for (std::size_t bit = 0; bit < count; ++bit) at.to[bit] = at.from[bit / 8] >> bit % 8 & 1;
  return true;
}

// A word in the host's order becomes a big-endian one, and back. Words go through memcpy: in the
// data and in a message they stand at any address, and some hosts read them from even ones only.
using convert_word = void (*)(std::uint8_t* to, const std::uint8_t* from) noexcept;

template <class Word>
void to_big(std::uint8_t* to, const std::uint8_t* from) noexcept {
  store_big(to, load_host<Word>(from));
}

template <class Word>
void to_host(std::uint8_t* to, const std::uint8_t* from) noexcept {
  store_host(to, load_big<Word>(from));
}

template <class Word, convert_word Convert>
bool move_words(byte_reader& in, byte_writer& out, std::uint16_t count) noexcept {
  const std::size_t size = sizeof(Word) * count;
  const places at(in, size, out, size);
  if (!at) return false;
  for (std::size_t word = 0; word < size; word += sizeof(Word))
    Convert(at.to + word, at.from + word);
  return true;
}

// A count below 0 is one of bytes.
template <convert_word Convert>
bool move_words_or_bytes(byte_reader& in, byte_writer& out, std::uint16_t count) noexcept {
  const auto number = static_cast<std::int16_t>(count);
  if (number < 0) return copy(in, out, static_cast<std::size_t>(-number));
  return move_words<std::uint32_t, Convert>(in, out, count);
}

// The size of `count` strings, each with its NUL and after `prefix` other bytes; more than there
// are bytes where they are not all there.
std::size_t size_of_strings(const byte_reader& in, std::uint16_t count,
                            std::size_t prefix) noexcept {
  byte_reader ahead = in;
  for (; count > 0; --count) {
    ahead.take(prefix);
    const void* const end =
        ahead.failed() ? nullptr : std::memchr(ahead.position(), '\0', ahead.left());
    if (end == nullptr) return in.left() + 1;
    ahead.take(static_cast<std::size_t>(static_cast<const std::uint8_t*>(end) - ahead.position()) +
               1);
  }
  return in.left() - ahead.left();
}

// Measured before they are moved: some of the strings would be a list that nobody has sent.
bool copy_strings(byte_reader& in, byte_writer& out, std::uint16_t count) noexcept {
  return copy(in, out, size_of_strings(in, count, 0));
}

// Entries have the same size on both sides; only their words differ. They are measured as a whole
// first, as everything that may be refused.
template <convert_word Convert>
bool move_entries(byte_reader& in, byte_writer& out, std::uint16_t count) noexcept {
  constexpr std::size_t word_size = sizeof(std::uint16_t);
  const std::size_t size = size_of_strings(in, count, word_size);
  const places at(in, size, out, size);
  if (!at) return false;
  for (byte_reader entries_left(at.from, size); entries_left.left() > 0;) {
    std::uint8_t* const to = at.to + (size - entries_left.left());
    const std::size_t entry = size_of_strings(entries_left, 1, word_size);
    const std::uint8_t* const from = entries_left.take(entry);
    Convert(to, from);
    std::memcpy(to + word_size, from + word_size, entry - word_size);
  }
  return true;
}

// A byte count is one byte wide, and nothing is refused because of it: readers go by the quantity.
std::uint8_t byte_count_of_bits(std::uint16_t count) noexcept {
  return static_cast<std::uint8_t>(packed_size(count));
}

std::uint8_t byte_count_of_registers(std::uint16_t count) noexcept {
  return static_cast<std::uint8_t>(2 * count);
}

}  // namespace

namespace payload {

constexpr payload_coder none = {nothing, nothing, nullptr};
constexpr payload_coder bits = {pack_bits, unpack_bits, byte_count_of_bits};
constexpr payload_coder registers = {move_words<std::uint16_t, to_big<std::uint16_t>>,
                                     move_words<std::uint16_t, to_host<std::uint16_t>>,
                                     byte_count_of_registers};
constexpr payload_coder words_or_bytes = {move_words_or_bytes<to_big<std::uint32_t>>,
                                          move_words_or_bytes<to_host<std::uint32_t>>, nullptr};
constexpr payload_coder strings = {copy_strings, copy_strings, nullptr};
constexpr payload_coder entries = {move_entries<to_big<std::uint16_t>>,
                                   move_entries<to_host<std::uint16_t>>, nullptr};
constexpr payload_coder bytes = {copy_bytes, copy_bytes, nullptr};

}  // namespace payload

}  // namespace ruvex
