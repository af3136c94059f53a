// Bytes written as hex, and blocks with nothing usable around them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cursor.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

using byte_list = std::vector<std::uint8_t>;

// "11 03 00 6B" or "1103006B".
inline byte_list from_hex(std::string_view text) {
  byte_list bytes;
  std::string digits;
  for (const char character : text) {
    if (character != ' ') digits += character;
  }
  for (std::size_t at = 0; at < digits.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

inline std::string to_hex(const std::uint8_t* bytes, std::int64_t count) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (std::int64_t at = 0; at < count; ++at) {
    if (at > 0) text += ' ';
    (text += digits[bytes[at] / 16]) += digits[bytes[at] % 16];
  }
  return text;
}
inline std::string to_hex(const byte_list& bytes) {
  return to_hex(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

// The data of a record. Hex behind "r" stands for registers, behind "w" for 32-bit words, both in
// the host's order in the record; behind "b" for bytes. "s" is followed by strings, each up to a
// ",". Parts stand side by side, separated by "|": "w 00010203|r 0004|s ab,".
inline byte_list data_of(std::string_view text) {
  byte_list data;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('|'), text.size());
    const char kind = text[0];
    const std::string_view part = text.substr(2, end - 2);
    text.remove_prefix(std::min(end + 1, text.size()));
    byte_list bytes = kind == 's' ? byte_list(part.begin(), part.end()) : from_hex(part);
    if (kind == 's') std::replace(bytes.begin(), bytes.end(), std::uint8_t{','}, std::uint8_t{0});
    for (std::size_t at = 0; kind == 'r' && at < bytes.size(); at += 2) {
      store_host(&bytes[at], load_big<std::uint16_t>(&bytes[at]));
    }
    for (std::size_t at = 0; kind == 'w' && at < bytes.size(); at += 4) {
      store_host(&bytes[at], load_big<std::uint32_t>(&bytes[at]));
    }
    data.insert(data.end(), bytes.begin(), bytes.end());
  }
  return data;
}

inline void set_data(mod_mex& mex, const byte_list& data) {
  std::copy(data.begin(), data.end(), mex.data);
}

// The bytes in a heap block of just their size, where a sanitizer watches.
class exact_bytes {
 public:
  explicit exact_bytes(const byte_list& bytes)
      : bytes_(new std::uint8_t[bytes.size()]), size_(static_cast<std::int32_t>(bytes.size())) {
    std::copy(bytes.begin(), bytes.end(), bytes_.get());
  }
  std::uint8_t* data() const { return bytes_.get(); }
  std::int32_t size() const { return size_; }

 private:
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::int32_t size_;
};

// Room for one message or frame.
class message_room : public exact_bytes {
 public:
  message_room() : exact_bytes(byte_list(mod_buffer_size, 0xEE)) {}
  byte_list first(std::int32_t count) const { return {data(), data() + std::max(count, 0)}; }
};

}  // namespace ruvex
