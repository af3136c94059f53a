#include "conversion.h"

#include <algorithm>

#include "framing.h"
#include "layout/functions.h"

namespace ruvex {

std::int32_t refuse(mod_mex& mex, std::uint8_t code, std::int32_t result) noexcept {
  mex.fcn |= exception_bit;
  mex.data[0] = code;
  return result;
}

void begin_message(byte_writer& out, std::uint8_t protocol, const mod_mex& mex) noexcept {
  if (framing_of(protocol).has_mbap) {
    out.u16(mex.tid);
    out.u16(mex.pid);
    out.u16(0);  // the length, once it is known
  }
  out.u8(mex.addr);
  out.u8(mex.fcn);
}

// Whether the message fits is asked here and not when it is framed: only here is there a record
// that can say so.
std::int32_t end_message(const byte_writer& out, std::uint8_t protocol, mod_mex& mex,
                         std::uint8_t* output, bool is_whole) noexcept {
  const framing& row = framing_of(protocol);
  const auto length = static_cast<std::size_t>(out.position() - output);
  if (!is_whole || out.failed() || row.framed_length(output, length) > mod_buffer_size) {
    return refuse(mex, MOD_ILLEGAL_DATA_VALUE);
  }
  if (row.has_mbap) {
    store_big(output + mbap_length_at, static_cast<std::uint16_t>(length - mbap_size));
  }
  return static_cast<std::int32_t>(length);
}

byte_reader open_message(std::uint8_t protocol, mod_mex& mex, const std::uint8_t* message,
                         std::int32_t length) noexcept {
  byte_reader in(message, static_cast<std::size_t>(std::max(length, 0)));
  if (framing_of(protocol).has_mbap) {
    mex.tid = in.u16();
    mex.pid = in.u16();
    mex.len = in.u16();
  }
  mex.addr = in.u8();
  mex.fcn = in.u8();
  return in;
}

byte_reader data_reader(const mod_mex& mex) noexcept {
  return {mex.data, mod_data_size};
}

// The reader is asked first, since a function code without a payload takes nothing and cannot fail.
mod_code read_payload(const payload_coder& coder, byte_reader& in, mod_mex& mex,
                      std::uint16_t count, std::size_t offset) noexcept {
  byte_writer data(mex.data + offset, mod_data_size - offset);
  const bool is_whole = !in.failed() && coder.to_data(in, data, count);
  return is_whole ? MOD_NO_EXCEPTION : MOD_ILLEGAL_DATA_VALUE;
}

std::uint16_t value_quantity(const mod_mex& mex) noexcept {
  return mex.ref & 0x7FFF;
}

}  // namespace ruvex
