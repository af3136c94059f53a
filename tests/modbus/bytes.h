// Bytes written as hex, records, messages and frames of them, and a line that plays a script.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cursor.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// What is made of just so many bytes is a heap block of just that size, where a sanitizer watches.
using byte_list = std::vector<std::uint8_t>;

// "11 03 006B"; what begins with ":" stands for its characters.
inline byte_list from_hex(std::string_view text) {
  if (text.starts_with(':')) return {text.begin(), text.end()};
  std::string digits(text);
  std::erase(digits, ' ');
  byte_list bytes(digits.size() / 2);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    bytes[at] = static_cast<std::uint8_t>(std::stoul(digits.substr(2 * at, 2), nullptr, 16));
  }
  return bytes;
}

inline std::string to_hex(std::span<const std::uint8_t> bytes) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    ((text += text.empty() ? "" : " ") += digits[byte / 16]) += digits[byte % 16];
  }
  return text;
}

// The data of a record. Hex after "r" stands for registers, after "w" for 32-bit words, both in the
// host's order in the record; after "b" for bytes. "c" is followed by a digit for each coil, "s" by
// strings, each up to a ",". Parts stand side by side, separated by "|": "w 00010203|r 0004|s ab,".
inline byte_list data_of(std::string_view text) {
  byte_list data;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('|'), text.size());
    const char kind = text[0];
    const std::string_view part = text.substr(2, end - 2);
    text.remove_prefix(std::min(end + 1, text.size()));
    byte_list bytes(part.begin(), part.end());
    if (kind != 's' && kind != 'c') bytes = from_hex(part);
    if (kind == 's') std::replace(bytes.begin(), bytes.end(), std::uint8_t{','}, std::uint8_t{0});
    if (kind == 'c') std::for_each(bytes.begin(), bytes.end(), [](auto& byte) { byte &= 1; });
    const bool is_big = std::endian::native == std::endian::big;
    const auto size = is_big ? 1 : kind == 'r' ? 2 : kind == 'w' ? 4 : 1;
    for (auto at = bytes.begin(); at != bytes.end(); at += size) std::reverse(at, at + size);
    data.insert(data.end(), bytes.begin(), bytes.end());
  }
  return data;
}

// A record of slave 17, whose data go on with A5.
inline mod_mex record(int fcn, int ref, int count, const byte_list& data = {}, int pid = 0x0102) {
  mod_mex mex = {};
  mex.tid = 0x1234, mex.pid = static_cast<std::uint16_t>(pid), mex.addr = 17;
  mex.fcn = static_cast<std::uint8_t>(fcn);
  mex.ref = static_cast<std::uint16_t>(ref);
  mex.count = static_cast<std::uint16_t>(count);
  std::fill(std::copy(data.begin(), data.end(), mex.data), std::end(mex.data), std::uint8_t{0xA5});
  return mex;
}

// What a function that is given `room` for so many bytes writes; nothing when it refuses.
template <class Write>
byte_list written(Write write) {
  byte_list room(mod_buffer_size, 0xEE);
  const std::int32_t length = write(room.data());
  return {room.begin(), room.begin() + std::max(length, 0)};
}

// `build` is mod_masterMexToBin or mod_slaveMexToBin, `read` the opposite.
using build_function = std::int32_t (*)(std::uint8_t, mod_mex*, std::uint8_t*) noexcept;
using read_function = std::int32_t (*)(std::uint8_t, mod_mex*, const std::uint8_t*,
                                       std::int32_t) noexcept;
inline byte_list built(build_function build, std::uint8_t protocol, mod_mex& mex) {
  return written([&](std::uint8_t* room) { return build(protocol, &mex, room); });
}
inline std::int32_t read(read_function how, std::uint8_t protocol, mod_mex& mex,
                         const byte_list& message) {
  return how(protocol, &mex, message.data(), static_cast<std::int32_t>(message.size()));
}

inline byte_list framed(std::uint8_t protocol, const byte_list& message) {
  const auto length = static_cast<std::int32_t>(message.size());
  return written([&](auto* room) { return mod_binToTx(protocol, length, message.data(), room); });
}

// The frame of an RTU message, as text.
inline std::string rtu(std::string_view message) {
  return to_hex(framed(MOD_RTU, from_hex(message)));
}

// A text of frames in brackets, which get their CRC, and of other bytes.
inline std::string said(std::string text) {
  for (std::size_t at; (at = text.find('[')) != std::string::npos;) {
    const std::size_t end = text.find(']', at);
    text.replace(at, end + 1 - at, rtu(text.substr(at + 1, end - at - 1)));
  }
  return text;
}

// The message of a frame; without a value where the frame is corrupt.
inline std::optional<byte_list> unframed(std::uint8_t protocol, const byte_list& frame) {
  std::int32_t result = static_cast<std::int32_t>(frame.size());
  const byte_list message = written([&](std::uint8_t* room) {
    return result = mod_rxToBin(protocol, result, frame.data(), room);
  });
  return result == MOD_CORRUPT_FRAME ? std::nullopt : std::optional(message);
}

// A context on a line that gives its bytes, one at a time, and is then silent. What is sent is
// noted, and the next of the answers comes.
struct scripted_line {
  byte_list incoming;
  std::vector<std::string> answers;
  std::string sent;
  bool fails_to_send = false;
  mod_ctx ctx = {};

  scripted_line(std::uint8_t protocol, byte_list bytes) : incoming(std::move(bytes)) {
    mod_init(&ctx, protocol, this, receive, send);
  }
  static std::int32_t receive(void* handle, void* buffer, std::int32_t length) {
    byte_list& left = static_cast<scripted_line*>(handle)->incoming;
    if (length != 1 || left.empty()) return -1;
    *static_cast<std::uint8_t*>(buffer) = left.front();
    left.erase(left.begin());
    return 1;
  }
  static std::int32_t send(void* handle, const void* buffer, std::int32_t length) {
    auto& line = *static_cast<scripted_line*>(handle);
    if (line.fails_to_send) return -1;
    const auto size = static_cast<std::size_t>(length);
    line.sent += to_hex({static_cast<const std::uint8_t*>(buffer), size}) + "|";
    if (line.answers.empty()) return length;
    line.incoming = from_hex(line.answers.front());
    line.answers.erase(line.answers.begin());
    return length;
  }
};

}  // namespace ruvex
