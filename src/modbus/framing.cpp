#include "framing.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "crc16.h"
#include "layout/functions.h"
#include "rtu.h"
#include "ruvex/modbus/codes.h"

namespace ruvex {
namespace {

constexpr std::uint8_t DLE = 0x10;
constexpr std::uint8_t STX = 0x02;
constexpr std::uint8_t ETX = 0x03;
constexpr std::uint8_t CR = 0x0D;
constexpr std::uint8_t LF = 0x0A;

bool go_on(mod_ctx& ctx, std::uint8_t last_char) noexcept {
  ctx.last_char = last_char;
  return false;
}

// A frame whose length is known is complete when that many characters are there. The one that tells
// the length never completes it, even where it tells that no more are to come.
bool reaches_expected(mod_ctx& ctx, std::uint8_t character) noexcept {
  return ctx.length >= ctx.expected || go_on(ctx, character);
}

void copy_message(byte_reader message, byte_writer& out) noexcept {
  const std::size_t length = message.left();
  std::uint8_t* const to = out.take(length);
  if (to != nullptr && length != 0) std::memmove(to, message.position(), length);
}

std::int32_t move_message(const std::uint8_t* frame, std::size_t length,
                          std::uint8_t* output) noexcept {
  if (frame != output && length != 0) std::memmove(output, frame, length);
  return static_cast<std::int32_t>(length);
}

// ASCII. The check is the two's complement of the sum of the digits' character codes. Modbus
// devices sum the bytes. The partners of this codec sum what is on the line and understand nothing
// else.

constexpr std::size_t ascii_overhead = 5;  // ":", two digits of the check, CR LF

// Nothing looks for the ":". Noise in front of it becomes part of the frame, whose check then
// fails.
bool ascii_ends(mod_ctx& ctx, std::uint8_t character) noexcept {
  return character == LF || go_on(ctx, character);
}

std::size_t ascii_length(const std::uint8_t*, std::size_t length) noexcept {
  return 2 * length + ascii_overhead;
}

// Returns the sum of the two character codes.
std::uint8_t write_hex(byte_writer& out, std::uint8_t byte) noexcept {
  constexpr char digits[] = "0123456789ABCDEF";
  const auto high = static_cast<std::uint8_t>(digits[byte >> 4]);
  const auto low = static_cast<std::uint8_t>(digits[byte & 0x0F]);
  out.u8(high);
  out.u8(low);
  return static_cast<std::uint8_t>(high + low);
}

void ascii_frame(byte_reader message, byte_writer& out) noexcept {
  out.u8(':');
  std::uint8_t sum = 0;
  while (message.left() > 0) sum = static_cast<std::uint8_t>(sum + write_hex(out, message.u8()));
  write_hex(out, static_cast<std::uint8_t>(-sum));
  out.u8(CR);
  out.u8(LF);
}

// Any character has a value. Digits need no check of their own, since the sum is over characters.
std::uint8_t read_hex(const std::uint8_t* digits) noexcept {
  const auto value = [](int code) { return code > 0x40 ? code - 55 : code - 48; };
  return static_cast<std::uint8_t>(value(digits[0]) * 16 | value(digits[1]));
}

std::int32_t ascii_unframe(const std::uint8_t* frame, std::size_t length,
                           std::uint8_t* output) noexcept {
  if (length % 2 == 0 || length < ascii_overhead) return MOD_CORRUPT_FRAME;
  const std::size_t count = (length - ascii_overhead) / 2;
  const std::uint8_t* digits = frame + 1;
  std::uint8_t sum = 0;
  for (std::size_t at = 0; at < count; ++at, digits += 2) {
    sum = static_cast<std::uint8_t>(sum + digits[0] + digits[1]);
    output[at] = read_hex(digits);  // in place: before the digits still to be read
  }
  sum = static_cast<std::uint8_t>(sum + read_hex(digits));
  return sum == 0 ? static_cast<std::int32_t>(count) : MOD_CORRUPT_FRAME;
}

// RTU.

// Modbus ends an RTU frame with a silence of 3.5 characters, which a transport that hands out bytes
// does not show. So the bytes are counted. Only where none of them tells the length, the
// transport's time-out has to end the frame.
bool rtu_ends(mod_ctx& ctx, std::uint8_t character) noexcept {
  if (ctx.expected != 0) return reaches_expected(ctx, character);
  if (ctx.length > function_at) {
    const frame_length& length = response_length(ctx.buffer[function_at]);
    if (ctx.length == length.told_at + 1) ctx.expected = length.of(ctx.buffer);
  }
  return go_on(ctx, character);
}

std::size_t rtu_length(const std::uint8_t*, std::size_t length) noexcept {
  return length + rtu_crc_size;
}

void rtu_frame(byte_reader message, byte_writer& out) noexcept {
  const std::uint16_t crc = crc16(message.position(), static_cast<std::uint16_t>(message.left()));
  copy_message(message, out);
  out.u8(static_cast<std::uint8_t>(crc));
  out.u8(static_cast<std::uint8_t>(crc >> 8));
}

std::int32_t rtu_unframe(const std::uint8_t* frame, std::size_t length,
                         std::uint8_t* output) noexcept {
  const auto size = static_cast<std::int32_t>(length);
  if (!is_rtu_frame(frame, size)) return MOD_CORRUPT_FRAME;
  return move_message(frame, length - rtu_crc_size, output);
}

// DF1. The lines of this codec carry no block check.

constexpr std::size_t df1_overhead = 4;

// After a doubled DLE, which is data, `last_char` becomes 0. Otherwise the second half of the pair
// would make an end of an ETX that is data, too.
bool df1_ends(mod_ctx& ctx, std::uint8_t character) noexcept {
  constexpr std::uint8_t start[] = {DLE, STX};
  if (ctx.length <= 2) {
    if (character == start[ctx.length - 1]) return go_on(ctx, character);
    ctx.length = 0;  // noise, or the rest of a frame whose start was missed
    return go_on(ctx, 0);
  }
  if (ctx.last_char != DLE) return go_on(ctx, character);
  return character == ETX || go_on(ctx, character == DLE ? 0 : character);
}

std::size_t df1_length(const std::uint8_t* message, std::size_t length) noexcept {
  return length + df1_overhead +
         static_cast<std::size_t>(std::count(message, message + length, DLE));
}

void df1_frame(byte_reader message, byte_writer& out) noexcept {
  out.u8(DLE);
  out.u8(STX);
  while (message.left() > 0) {
    const std::uint8_t byte = message.u8();
    if (byte == DLE) out.u8(DLE);
    out.u8(byte);
  }
  out.u8(DLE);
  out.u8(ETX);
}

std::int32_t df1_unframe(const std::uint8_t* frame, std::size_t length,
                         std::uint8_t* output) noexcept {
  if (length < 2 || frame[0] != DLE || frame[1] != STX) return MOD_CORRUPT_FRAME;
  std::int32_t count = 0;
  for (std::size_t at = 2; at < length; ++at) {
    if (frame[at] == DLE) {
      if (++at == length) break;
      if (frame[at] == ETX && at + 1 == length) return count;
      if (frame[at] != DLE) break;
    }
    output[count++] = frame[at];  // in place: before what is still to be read
  }
  return MOD_CORRUPT_FRAME;
}

// TCP: the message is the frame, and its header tells the length.

bool tcp_ends(mod_ctx& ctx, std::uint8_t character) noexcept {
  if (ctx.expected != 0) return reaches_expected(ctx, character);
  if (ctx.length == mbap_size) {
    const std::size_t rest = load_big<std::uint16_t>(ctx.buffer + mbap_length_at);
    // A length that wraps below 0 ends the frame with the next character. Its message is too short
    // then for any function code, and refused.
    ctx.expected = static_cast<std::int16_t>(mbap_size + rest);
  }
  return go_on(ctx, character);
}

std::size_t tcp_length(const std::uint8_t*, std::size_t length) noexcept {
  return length;
}

// Rows of MOD_ASCII, MOD_RTU, MOD_DF1, MOD_TCP.
constexpr framing framings[] = {
    {ascii_ends, false, false, ascii_length, ascii_frame, ascii_unframe},
    {rtu_ends, true, false, rtu_length, rtu_frame, rtu_unframe},
    {df1_ends, false, false, df1_length, df1_frame, df1_unframe},
    {tcp_ends, false, true, tcp_length, copy_message, move_message},
};
static_assert(std::size(framings) == MOD_TCP + 1);

bool never_ends(mod_ctx&, std::uint8_t) noexcept {
  return false;
}

}  // namespace

const framing unknown_framing = {
    never_ends,
    false,
    false,
    [](const std::uint8_t*, std::size_t) noexcept { return std::size_t{0}; },
    [](byte_reader, byte_writer&) noexcept {},
    [](const std::uint8_t*, std::size_t, std::uint8_t*) noexcept { return std::int32_t{0}; },
};

const framing& framing_of(std::uint8_t protocol) noexcept {
  return protocol < std::size(framings) ? framings[protocol] : unknown_framing;
}

}  // namespace ruvex
