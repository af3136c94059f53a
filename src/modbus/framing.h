// The four framings: one row of data and operations each. What asks for a protocol asks its row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cursor.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

// Whether `character`, which has just been stored, completes the frame; keeps the receive state.
using end_rule = bool (*)(mod_ctx& ctx, std::uint8_t character) noexcept;

struct framing {
  end_rule ends;
  bool may_be_open;  // the end of the input completes a frame of MOD_LEN_OPEN
  bool has_mbap;     // messages begin with the MBAP header
  // The length of a message of `length` bytes in its frame.
  std::size_t (*framed_length)(const std::uint8_t* message, std::size_t length) noexcept;
  void (*frame)(byte_reader message, byte_writer& out) noexcept;
  // Writes the message of a frame to `output`, which may be the frame itself, and returns its
  // length; MOD_CORRUPT_FRAME when it is none.
  std::int32_t (*unframe)(const std::uint8_t* frame, std::size_t length,
                          std::uint8_t* output) noexcept;
};

inline constexpr std::size_t mbap_size = 6;
inline constexpr std::size_t mbap_length_at = 4;

// The row of a protocol; for an unknown one, unknown_framing.
const framing& framing_of(std::uint8_t protocol) noexcept;

// Frames nothing and completes nothing; messages have no header and no bound but the buffer's.
extern const framing unknown_framing;

}  // namespace ruvex
