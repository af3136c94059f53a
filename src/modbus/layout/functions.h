// The function codes: one row each, which tells how a request and a response are laid out and where
// their frames end. Masters and slaves read the same rows from their two sides.
//
// A function code of one's own costs its row, and a coder in payload.h where its payload is new.
//
// Codes 1 to 6, 15 and 16 are those of "MODBUS Application Protocol Specification V1.1b3", section
// 6; codes 100 to 102 and 104 to 108 are the codec's own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "payload.h"
#include "ruvex/modbus/codes.h"

namespace ruvex {

// What a master does with a function code.
enum class master_use : std::uint8_t {
  never,   // only slaves know it
  writes,  // asks; nothing but address and function code is read of the response
  reads,   // asks, and reads the response
};

// What follows a request's reference.
enum class request_layout : std::uint8_t {
  quantity,  // the quantity, then the payload
  counted,   // the quantity, a byte count, then the payload
  fixed,     // the payload, of the row's quantity
  coil,      // FF 00 or 00 00
  value,     // a 32-bit word, then the payload; the reference without bit 15 is its quantity
};

// What follows a response's function code.
enum class response_layout : std::uint8_t {
  counted,         // a byte count, then the payload
  fixed,           // the reference, the payload of the row's quantity
  coil,            // the reference, FF 00 or 00 00
  quantity,        // the reference, the quantity, then the payload
  short_quantity,  // the quantity in one byte, then the payload
};

// The reference of a response.
enum class reference : std::uint8_t {
  echoed,     // as in the request
  zero,       // 00 00
  unshifted,  // one above the request's
};

// Where a frame ends on an RTU line, its CRC included. Positions count from the address.
struct frame_length {
  std::uint8_t told_at;  // the byte that tells it: the function code, or a byte count
  std::int16_t least;    // without the bytes counted

  std::int16_t of(const std::uint8_t* frame) const noexcept;
};

struct request_form {
  request_layout layout;
  frame_length length;
  const payload_coder* payload;
};

struct response_form {
  response_layout layout;
  frame_length length;
  reference ref;
  const payload_coder* payload;
};

struct quantity_limit {
  std::uint16_t most;  // that a slave accepts; with layout `fixed`, what there always is
  mod_code code;       // of the refusal
};

struct mod_function {
  std::uint8_t fcn;
  master_use master;
  quantity_limit quantity;
  request_form request;
  response_form response;
};

inline constexpr std::uint8_t function_at = 1;  // in a message without header
inline constexpr std::uint8_t exception_bit = 0x80;

// Null for a function code that has no row.
const mod_function* find_function(std::uint8_t fcn) noexcept;

// Of frames of a function code, which need not have a row.
const frame_length& request_length(std::uint8_t fcn) noexcept;
const frame_length& response_length(std::uint8_t fcn) noexcept;

}  // namespace ruvex
