#include "ruvex/modbus/slave.h"

#include "conversion.h"
#include "layout/functions.h"

namespace ruvex {
namespace {

mod_code read_coil(mod_mex& mex, byte_reader& in) noexcept {
  const std::uint16_t value = in.u16();
  if (in.failed()) return MOD_ILLEGAL_DATA_VALUE;
  mex.data[0] = value == coil_on ? 1 : 0;
  mex.count = 1;
  return MOD_NO_EXCEPTION;
}

mod_code read_fixed(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const mod_code code = read_payload(*row.request.payload, in, mex, row.quantity.most);
  if (code == MOD_NO_EXCEPTION) mex.count = row.quantity.most;
  return code;
}

// The value comes first and is stored last, since a refused request leaves the data as they were.
mod_code read_value(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const std::uint32_t value = in.u32();
  mex.count = value_quantity(mex);
  const mod_code code = read_payload(*row.request.payload, in, mex, mex.count, value_size);
  if (code == MOD_NO_EXCEPTION) store_host(mex.data, value);
  return code;
}

mod_code read_quantity(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  const std::uint16_t count = in.u16();
  if (in.failed()) return MOD_ILLEGAL_DATA_VALUE;
  mex.count = count;  // of a refused request, too: it tells what was asked for
  if (count > row.quantity.most) return row.quantity.code;
  if (row.request.layout == request_layout::counted) in.u8();
  return read_payload(*row.request.payload, in, mex, count);
}

// Returns the code of the exception, or MOD_NO_EXCEPTION.
mod_code read_request(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  switch (row.request.layout) {
    case request_layout::coil:
      return read_coil(mex, in);
    case request_layout::fixed:
      return read_fixed(row, mex, in);
    case request_layout::value:
      return read_value(row, mex, in);
    default:
      return read_quantity(row, mex, in);
  }
}

std::uint16_t response_reference(const mod_function& row, const mod_mex& mex) noexcept {
  switch (row.response.ref) {
    case reference::zero:
      return 0;
    case reference::unshifted:
      return mex.ref;
    default:
      return static_cast<std::uint16_t>(mex.ref - 1);
  }
}

bool write_response(const mod_function& row, const mod_mex& mex, byte_writer& out) noexcept {
  // Cut before it is rounded up to bytes. Only an application that answers with more than it was
  // asked for gets here with more than 255.
  const auto short_count = static_cast<std::uint8_t>(mex.count);
  byte_reader data = data_reader(mex);
  const payload_coder& returned = *row.response.payload;
  switch (row.response.layout) {
    case response_layout::counted:
      out.u8(returned.byte_count(short_count));
      break;
    case response_layout::fixed:
      out.u16(response_reference(row, mex));
      return returned.to_message(data, out, row.quantity.most);
    case response_layout::coil:
      out.u16(response_reference(row, mex));
      out.u16(mex.data[0] != 0 ? coil_on : 0);
      return true;
    case response_layout::quantity:
      out.u16(response_reference(row, mex));
      out.u16(mex.count);
      break;
    case response_layout::short_quantity:
      out.u8(short_count);
      break;
  }
  return returned.to_message(data, out, mex.count);
}

}  // namespace

std::int32_t mod_slaveBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                               std::int32_t length) noexcept {
  byte_reader in = open_message(protocol, *mex, message, length);
  const bool has_function = !in.failed();
  mex->ref = static_cast<std::uint16_t>(in.u16() + 1);
  const mod_function* row = find_function(mex->fcn);
  // A short request is no reason to refuse an unknown function: nothing tells what follows it.
  const bool is_unknown = has_function && row == nullptr;
  mod_code code = is_unknown ? MOD_ILLEGAL_FUNCTION : MOD_ILLEGAL_DATA_VALUE;
  if (!in.failed() && row != nullptr) code = read_request(*row, *mex, in);
  return code == MOD_NO_EXCEPTION ? 0 : refuse(*mex, code, -code);
}

std::int32_t mod_slaveMexToBin(std::uint8_t protocol, mod_mex* mex, std::uint8_t* output) noexcept {
  byte_writer out(output, mod_buffer_size);
  begin_message(out, protocol, *mex);
  // Also of an unknown function code: that is how a slave refuses one.
  if ((mex->fcn & exception_bit) != 0) {
    out.u8(mex->data[0]);
    return end_message(out, protocol, *mex, output, true);
  }
  const mod_function* row = find_function(mex->fcn);
  if (row == nullptr) return refuse(*mex, MOD_ILLEGAL_FUNCTION);
  const bool is_whole = write_response(*row, *mex, out);
  return end_message(out, protocol, *mex, output, is_whole);
}

}  // namespace ruvex
