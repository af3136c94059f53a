// What the conversions of masters and slaves share: the head and the end of a message, payloads
// into a record, and the record of a refusal.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cursor.h"
#include "layout/payload.h"
#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// Marks the record as an exception or failure; returns the result.
std::int32_t refuse(mod_mex& mex, std::uint8_t code, std::int32_t result = MOD_FAILED) noexcept;

// Begins a message: the MBAP header where the protocol has one, the address, the function code.
void begin_message(byte_writer& out, std::uint8_t protocol, const mod_mex& mex) noexcept;

// Completes the message that stands in `output` up to the writer's position: its length. The record
// is refused with MOD_ILLEGAL_DATA_VALUE when `is_whole` is false or the message would not fit into
// a frame.
std::int32_t end_message(const byte_writer& out, std::uint8_t protocol, mod_mex& mex,
                         std::uint8_t* output, bool is_whole) noexcept;

// A reader of a message of `length` bytes, beyond what begin_message writes, which is in the
// record.
byte_reader open_message(std::uint8_t protocol, mod_mex& mex, const std::uint8_t* message,
                         std::int32_t length) noexcept;

// The record's data.
byte_reader data_reader(const mod_mex& mex) noexcept;

// Reads `count` items into the record's data from byte `offset` on. MOD_ILLEGAL_DATA_VALUE, and the
// data are unchanged, when they are not all there, do not fit, or the reader had failed before.
mod_code read_payload(const payload_coder& coder, byte_reader& in, mod_mex& mex,
                      std::uint16_t count, std::size_t offset = 0) noexcept;

// A request of layout `value`: where its payload stands in the data, and its quantity.
inline constexpr std::size_t value_size = sizeof(std::uint32_t);
std::uint16_t value_quantity(const mod_mex& mex) noexcept;

inline constexpr std::uint16_t coil_on = 0xFF00;

}  // namespace ruvex
