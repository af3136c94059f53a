#include "encoding.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "characters.h"

namespace ruvex {
namespace {

constexpr std::string_view little_endian_mark = "\xFF\xFE";
constexpr std::string_view big_endian_mark = "\xFE\xFF";

// The place behind `text`.
text_place place_behind(std::string_view text) noexcept {
  text_place place = {1, 1};
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool is_in_pair = text[at] == '\r' && text.substr(at + 1, 1) == "\n";
    const bool ends_line = text[at] == '\n' || text[at] == '\r';
    if (ends_line && !is_in_pair) {
      place = {place.line + 1, 1};
    } else {
      ++place.column;
    }
  }
  return place;
}

std::size_t valid_length(std::string_view text) noexcept {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t length = utf_8_length(text.substr(at));
    if (length == 0) break;
    at += length;
  }
  return at;
}

void append_character(std::string& text, std::uint32_t code) {
  const auto append = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
  const auto append_later = [&](unsigned shift) { append(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) return append(code);
  if (code < 0x800) {
    append(0xC0 | code >> 6);
  } else if (code < 0x10000) {
    append(0xE0 | code >> 12);
    append_later(6);
  } else {
    append(0xF0 | code >> 18);
    append_later(12);
    append_later(6);
  }
  append_later(0);
}

decoded_text decode_utf8(std::string&& content) {
  if (content.starts_with(utf_8_mark)) content.erase(0, utf_8_mark.size());
  const std::size_t valid = valid_length(content);
  const bool is_valid = valid == content.size();
  content.resize(valid);
  const text_place place = is_valid ? text_place{1, 1} : place_behind(content);
  return {std::move(content), text_encoding::utf8, is_valid ? nullptr : "not UTF-8", place};
}

decoded_text decode_latin1(std::string_view content) {
  std::string text;
  text.reserve(content.size());
  for (const char character : content) {
    append_character(text, static_cast<unsigned char>(character));
  }
  return {std::move(text), text_encoding::latin1, nullptr, {1, 1}};
}

// What Windows-1252 has at 0x80 to 0x9F, as CP1252.TXT of Unicode maps it; 0: undefined.
constexpr std::uint16_t cp1252_signs[] = {
    // clang-format off
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
    0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
    // clang-format on
};
static_assert(std::size(cp1252_signs) == 0xA0 - 0x80);

bool is_cp1252_sign(char character) noexcept {
  return (static_cast<unsigned char>(character) & 0xE0) == 0x80;
}

// Whether a text that is no UTF-8 is likely to be Windows-1252. Where one character is one of
// UTF-8, the others are damaged ones: as Windows-1252 all of them would become letters that nobody
// wrote.
bool is_cp1252(std::string_view content) noexcept {
  bool has_sign = false;
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t length = utf_8_length(content.substr(at));
    if (length > 1) return false;
    has_sign = has_sign || (length == 0 && is_cp1252_sign(content[at]));
    ++at;
  }
  return has_sign;
}

decoded_text decode_cp1252(std::string_view content) {
  decoded_text decoded = {{}, text_encoding::cp1252, nullptr, {1, 1}};
  decoded.text.reserve(content.size());
  for (const char character : content) {
    std::uint32_t code = static_cast<unsigned char>(character);
    if (is_cp1252_sign(character)) code = cp1252_signs[code - 0x80];
    if (code == 0 && character != '\0') {
      decoded.defect = "a byte that Windows-1252 does not define";
      decoded.place = place_behind(decoded.text);
      break;
    }
    append_character(decoded.text, code);
  }
  return decoded;
}

bool is_surrogate(std::uint32_t unit) noexcept {
  return (unit & 0xF800) == 0xD800;
}
bool is_low_surrogate(std::uint32_t unit) noexcept {
  return (unit & 0xFC00) == 0xDC00;
}

// The 16-bit units of a text in UTF-16.
class utf16_units {
 public:
  utf16_units(std::string_view bytes, bool is_big_endian) noexcept
      : bytes_(bytes), high_(is_big_endian ? 0 : 1) {}

  std::size_t count() const noexcept { return bytes_.size() / 2; }
  bool has_odd_byte() const noexcept { return bytes_.size() % 2 != 0; }
  std::uint32_t operator[](std::size_t number) const noexcept {
    return byte_at(bytes_, number * 2 + high_) << 8 | byte_at(bytes_, number * 2 + 1 - high_);
  }

 private:
  std::string_view bytes_;
  std::size_t high_;
};

decoded_text decode_utf16(const utf16_units& units) {
  decoded_text decoded = {{}, text_encoding::utf16, nullptr, {1, 1}};
  decoded.text.reserve(units.count());
  for (std::size_t at = 0; at < units.count(); ++at) {
    std::uint32_t code = units[at];
    if (is_surrogate(code)) {
      const bool is_pair =
          !is_low_surrogate(code) && at + 1 < units.count() && is_low_surrogate(units[at + 1]);
      if (!is_pair) {
        decoded.defect = "half a surrogate pair";
        break;
      }
      ++at;
      code = 0x10000 + ((code & 0x3FF) << 10 | (units[at] & 0x3FF));
    }
    append_character(decoded.text, code);
  }
  if (decoded.defect == nullptr && units.has_odd_byte()) decoded.defect = "half a character";
  if (decoded.defect != nullptr) decoded.place = place_behind(decoded.text);
  return decoded;
}

// How many NUL bytes stand in the even and in the odd places at the start of a text.
struct nul_counts {
  std::size_t even, odd;
};
constexpr std::size_t nul_sample = 4096;
nul_counts count_nuls(std::string_view content) noexcept {
  const std::string_view start = content.substr(0, nul_sample);
  nul_counts counts = {};
  for (std::size_t at = 0; at < start.size(); ++at) {
    if (start[at] == '\0') ++(at % 2 == 0 ? counts.even : counts.odd);
  }
  return counts;
}

decoded_text decode_utf16(std::string_view content) {
  bool is_big_endian = content.starts_with(big_endian_mark);
  if (is_big_endian || content.starts_with(little_endian_mark)) {
    content.remove_prefix(2);
  } else {
    const auto [even, odd] = count_nuls(content);
    is_big_endian = even > odd;
  }
  return decode_utf16(utf16_units(content, is_big_endian));
}

bool has_utf16_mark(std::string_view content) noexcept {
  return content.starts_with(little_endian_mark) || content.starts_with(big_endian_mark);
}

// A list in another script has NUL bytes beside its digits, its delimiters and its texts of tables
// only, and a stray one where a character's low byte is 0. A few NUL bytes alone say nothing,
// unless they are half of a short text.
bool has_nuls_in_turn(std::string_view content) noexcept {
  const auto [even, odd] = count_nuls(content);
  const std::size_t most = std::max(even, odd);
  const std::size_t least = std::min(even, odd);
  const std::size_t size = std::min(content.size(), nul_sample);
  const std::size_t half = size / 4;  // of the places of one kind
  constexpr std::size_t few = 4;
  return (most > half && least <= half) || (most >= few && most > size / 16 && least <= most / 4);
}

decoded_text decode_automatically(std::string&& content) {
  if (content.starts_with(utf_8_mark)) return decode_utf8(std::move(content));
  if (has_utf16_mark(content) || has_nuls_in_turn(content)) {
    return decode_utf16(content);
  }
  if (valid_length(content) != content.size()) {
    return is_cp1252(content) ? decode_cp1252(content) : decode_latin1(content);
  }
  return decode_utf8(std::move(content));
}

}  // namespace

bool is_utf16(std::string_view content) noexcept {
  const bool has_nul = content.substr(0, nul_sample).find('\0') != std::string_view::npos;
  return has_nul && (has_utf16_mark(content) || has_nuls_in_turn(content));
}

decoded_text decode_text(std::string content, text_encoding encoding) {
  switch (encoding) {
    case text_encoding::utf8:
      return decode_utf8(std::move(content));
    case text_encoding::utf16:
      return decode_utf16(content);
    case text_encoding::latin1:
      return decode_latin1(content);
    case text_encoding::cp1252:
      return decode_cp1252(content);
    case text_encoding::automatic:
      break;
  }
  return decode_automatically(std::move(content));
}

}  // namespace ruvex
