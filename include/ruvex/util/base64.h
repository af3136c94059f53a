// Base64 in the standard alphabet of RFC 4648 (section 4): three bytes become four characters, "="
// pads the last group, and there are no line breaks in the output.
//
//   base64_text_ptr text(barBase64encode(bar));
//   if (text == nullptr) return;  // out of memory
//   bar_ptr bytes(base64decodeData(text.get()));
//
// The decoder is lenient. Only the low 7 bits of each character count. Characters outside the
// alphabet are skipped, and the first "=" ends the text. An incomplete group that no "=" ends is
// dropped.
//
// The functions keep no state, and any thread may call them.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "ruvex/util/bar.h"
#include "ruvex/util/str.h"

namespace ruvex {

// The alphabet: the character of each 6-bit value (RFC 4648, table 1).
inline constexpr char enc64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// What dec64 holds where a character, "=" included, is not in the alphabet.
inline constexpr std::uint8_t not_base64 = '~';

// The value of each 7-bit character.
inline constexpr std::array<std::uint8_t, 128> dec64 = [] {
  std::array<std::uint8_t, 128> values = {};
  values.fill(not_base64);
  for (std::uint8_t value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(enc64[value])] = value;
  }
  return values;
}();

// Encodes the first `len` of the three bytes at `in` as the four characters at `out`, without a
// NUL: two and "==" for a `len` of 1 or less, three and "=" for 2, otherwise four. The bytes after
// the first `len` must be 0.
void encodeblock(const std::uint8_t* in, char* out, std::int32_t len) noexcept;

// Joins the four 6-bit values at `in`, as they stand in dec64, to the three bytes at `out`.
void decodeblock(const std::uint8_t* in, std::uint8_t* out) noexcept;

// The encoding of the `len` bytes of `bar`, 4 * ceil(len / 3) characters and a NUL, in a block from
// malloc that the caller releases with free. Null when memory runs out.
char* barBase64encode(const Bar* bar) noexcept;

// Owns a text of barBase64encode.
struct base64_text_free {
  void operator()(char* text) const noexcept { std::free(text); }
};
using base64_text_ptr = std::unique_ptr<char, base64_text_free>;

// Decodes a text of L characters into a new Bar with a `size` of floor(L / 4) * 3, which the caller
// releases with barDelete. Null, with nothing allocated, when memory runs out and for a text of
// more than 43691 characters, whose bytes do not fit into a Bar.
//
// A group that "=" ends gives one byte when it has two characters and two bytes when it has three.
// With fewer characters it gives none. It gives none either where `size` leaves no room for three
// bytes: so with a text like "QQ=", which lacks a "=" and has no other character to skip.
Bar* base64decodeData(const char* text) noexcept;

// base64decodeData of the text of `str`; a Str without a text counts as the empty text.
Bar* strBase64decode(const Str* str) noexcept;

}  // namespace ruvex
