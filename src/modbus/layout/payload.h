// The payloads of messages, each coded once for both directions and both sides.
#pragma once

#include <cstdint>

#include "cursor.h"

namespace ruvex {

// Both functions move `count` items from one cursor to the other. False, and nothing is written,
// when they are not all there or do not fit.
struct payload_coder {
  bool (*to_message)(byte_reader& data, byte_writer& message, std::uint16_t count) noexcept;
  bool (*to_data)(byte_reader& message, byte_writer& data, std::uint16_t count) noexcept;
  // The byte count that announces `count` items, modulo 256; null where none does.
  std::uint8_t (*byte_count)(std::uint16_t count) noexcept;
};

namespace payload {

extern const payload_coder none;
extern const payload_coder bits;
extern const payload_coder registers;
extern const payload_coder words_or_bytes;  // bytes where the count is negative
extern const payload_coder strings;
extern const payload_coder entries;
extern const payload_coder bytes;

}  // namespace payload

}  // namespace ruvex
