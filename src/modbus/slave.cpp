#include "ruvex/modbus/slave.h"

#include <algorithm>

#include "cursor.h"
#include "functions.h"

namespace ruvex {
namespace {

std::int32_t refuse(mod_mex& mex, std::uint8_t code) noexcept {
  set_exception(mex, code);
  return -code;
}

mod_code read_payload(const mod_function& row, mod_mex& mex, byte_reader& in,
                      std::size_t offset) noexcept {
  byte_writer data = data_writer(mex, offset);
  const bool is_whole = !in.failed() && row.sent->to_data(in, data, mex.count);
  return is_whole ? MOD_NO_EXCEPTION : MOD_ILLEGAL_DATA_VALUE;
}

mod_code read_single(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const std::uint16_t value = in.u16();
  if (in.failed()) return MOD_ILLEGAL_DATA_VALUE;
  mex.count = 1;
  if (row.request == request_layout::coil) {
    mex.data[0] = value == coil_on ? 1 : 0;
  } else {
    store_host(mex.data, value);
  }
  return MOD_NO_EXCEPTION;
}

mod_code read_value(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const std::uint32_t value = in.u32();
  mex.count = static_cast<std::uint16_t>(mex.ref & value_quantity_mask);
  const mod_code code = read_payload(row, mex, in, value_size);
  if (code == MOD_NO_EXCEPTION) store_host(mex.data, value);
  return code;
}

mod_code read_quantity(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const std::uint16_t count = in.u16();
  if (in.failed()) return MOD_ILLEGAL_DATA_VALUE;
  mex.count = count;
  if (count > row.limit.most) return row.limit.code;
  if (row.request == request_layout::counted) in.u8();
  return read_payload(row, mex, in, 0);
}

// Returns the code of the exception, or MOD_NO_EXCEPTION.
mod_code read_request(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  switch (row.request) {
    case request_layout::coil:
    case request_layout::word:
      return read_single(row, mex, in);
    case request_layout::value:
      return read_value(row, mex, in);
    default:
      return read_quantity(row, mex, in);
  }
}

std::uint16_t response_reference(const mod_function& row, const mod_mex& mex) noexcept {
  switch (row.response_reference) {
    case reference::zero:
      return 0;
    case reference::unshifted:
      return mex.ref;
    default:
      return static_cast<std::uint16_t>(mex.ref - 1);
  }
}

bool write_response(const mod_function& row, const mod_mex& mex, byte_writer& out) noexcept {
  constexpr std::uint16_t byte_mask = 0xFF;
  byte_reader data = data_reader(mex);
  switch (row.response) {
    case response_layout::counted:
      out.u8(row.returned->byte_count(mex.count & byte_mask));
      break;
    case response_layout::coil:
      out.u16(response_reference(row, mex));
      out.u16(mex.data[0] != 0 ? coil_on : 0);
      break;
    case response_layout::word:
      out.u16(response_reference(row, mex));
      out.u16(load_host<std::uint16_t>(mex.data));
      break;
    case response_layout::quantity:
      out.u16(response_reference(row, mex));
      out.u16(mex.count);
      break;
    case response_layout::short_quantity:
      out.u8(static_cast<std::uint8_t>(mex.count & byte_mask));
      break;
  }
  return row.returned->to_message(data, out, mex.count);
}

}  // namespace

std::int32_t mod_slaveBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                               std::int32_t length) noexcept {
  byte_reader in(message, static_cast<std::size_t>(std::max(length, 0)));
  read_head(in, protocol, *mex);
  const bool has_function = !in.failed();
  mex->ref = static_cast<std::uint16_t>(in.u16() + 1);
  const mod_function* row = find_function(mex->fcn);
  if (has_function && row == nullptr) return refuse(*mex, MOD_ILLEGAL_FUNCTION);
  if (in.failed()) return refuse(*mex, MOD_ILLEGAL_DATA_VALUE);
  const mod_code code = read_request(*row, *mex, in);
  return code == MOD_NO_EXCEPTION ? 0 : refuse(*mex, code);
}

std::int32_t mod_slaveMexToBin(std::uint8_t protocol, mod_mex* mex, std::uint8_t* output) noexcept {
  byte_writer out(output, mod_buffer_size);
  begin_message(out, protocol, *mex);
  if ((mex->fcn & 0x80) != 0) {
    out.u8(mex->data[0]);
    return end_message(out, protocol, *mex, output, true);
  }
  const mod_function* row = find_function(mex->fcn);
  if (row == nullptr) {
    set_exception(*mex, MOD_ILLEGAL_FUNCTION);
    return MOD_FAILED;
  }
  const bool is_whole = write_response(*row, *mex, out);
  return end_message(out, protocol, *mex, output, is_whole);
}

}  // namespace ruvex
