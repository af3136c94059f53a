// The four framings: one row of operations each.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cursor.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

struct framing {
  // Whether `character`, which has just been stored, completes the frame; keeps the receive state.
  bool (*completes)(mod_ctx& ctx, std::uint8_t character) noexcept;
  // The length of a message of `length` bytes in its frame.
  std::size_t (*framed_length)(const std::uint8_t* message, std::size_t length) noexcept;
  void (*frame)(byte_reader message, byte_writer& out) noexcept;
  // Writes the message of a frame to `output`, which may be the frame itself, and returns its
  // length; MOD_CORRUPT_FRAME when it is none.
  std::int32_t (*unframe)(const std::uint8_t* frame, std::size_t length,
                          std::uint8_t* output) noexcept;
};

// Null for an unknown protocol.
const framing* find_framing(std::uint8_t protocol) noexcept;

// Whether a message fits into `tx_buffer` in its frame. Without a framing there is nothing to fit.
bool fits_framed(std::uint8_t protocol, const std::uint8_t* message, std::size_t length) noexcept;

}  // namespace ruvex
