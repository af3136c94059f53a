// The function codes: one row each, which tells how a request and a response are laid out. Masters
// and slaves read the same rows from their two sides.
//
// Codes 1 to 6, 15 and 16 are those of "MODBUS Application Protocol Specification V1.1b3", section
// 6; codes 100 to 102 and 104 to 108 are the codec's own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "payload.h"
#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// What follows a request's reference.
enum class request_layout : std::uint8_t {
  quantity,  // the quantity, then the payload
  counted,   // the quantity, a byte count, then the payload
  coil,      // FF 00 or 00 00
  word,      // a register
  value,     // a 32-bit word, then the payload; the reference without bit 15 is its quantity
};

// What follows a response's function code.
enum class response_layout : std::uint8_t {
  counted,         // a byte count, then the payload
  coil,            // the reference, FF 00 or 00 00
  word,            // the reference, a register
  quantity,        // the reference, the quantity, then the payload
  short_quantity,  // the quantity in one byte, then the payload
};

// The reference of a response.
enum class reference : std::uint8_t {
  echoed,     // as in the request
  zero,       // 00 00
  unshifted,  // one above the request's
};

struct quantity_limit {
  std::uint16_t most;
  mod_code code;  // of the refusal
};

struct mod_function {
  std::uint8_t fcn;
  bool is_asked_by_master;
  request_layout request;
  response_layout response;
  reference response_reference;
  const payload_coder* sent;
  const payload_coder* returned;
  quantity_limit limit;  // of a request that a slave accepts
};

inline constexpr std::uint16_t any_quantity = 0xFFFF;

// Null for a function code that has no row.
const mod_function* find_function(std::uint8_t fcn) noexcept;

// Marks the record as an exception or failure.
void set_exception(mod_mex& mex, std::uint8_t code) noexcept;

// A message, address first, with the MBAP header in front of it for MOD_TCP.

void begin_message(byte_writer& out, std::uint8_t protocol, const mod_mex& mex) noexcept;

// Completes the message that stands in `output` up to the writer's position: its length. -1, and
// the record is marked with MOD_ILLEGAL_DATA_VALUE, when `is_whole` is false or the message would
// not fit into a frame.
std::int32_t end_message(const byte_writer& out, std::uint8_t protocol, mod_mex& mex,
                         std::uint8_t* output, bool is_whole) noexcept;

// Reads the header, for MOD_TCP, and what every message has.
void read_head(byte_reader& in, std::uint8_t protocol, mod_mex& mex) noexcept;

// The record's data from byte `offset` on.
byte_reader data_reader(const mod_mex& mex, std::size_t offset = 0) noexcept;
byte_writer data_writer(mod_mex& mex, std::size_t offset = 0) noexcept;

// The quantity of a request of layout `value`, and where its payload stands in the data.
inline constexpr std::uint16_t value_quantity_mask = 0x7FFF;
inline constexpr std::size_t value_size = sizeof(std::uint32_t);

inline constexpr std::uint16_t coil_on = 0xFF00;

}  // namespace ruvex
