#include "ruvex/modbus/master.h"

#include <algorithm>

#include "cursor.h"
#include "functions.h"

namespace ruvex {
namespace {

// The quantity of a request with a 32-bit word stands in its reference.
void note_quantity(const mod_function& row, mod_mex& mex) noexcept {
  if (row.request == request_layout::value) {
    mex.count = static_cast<std::uint16_t>(mex.ref & value_quantity_mask);
  }
}

bool write_request(const mod_function& row, mod_mex& mex, byte_writer& out) noexcept {
  byte_reader data = data_reader(mex);
  switch (row.request) {
    case request_layout::coil: {
      const std::uint16_t value = mex.data[0] == 1 ? coil_on : 0;
      store_host(mex.data, value);
      out.u16(value);
      return true;
    }
    case request_layout::word:
      out.u16(load_host<std::uint16_t>(mex.data));
      return true;
    case request_layout::value:
      out.u32(load_host<std::uint32_t>(data.take(value_size)));
      break;
    case request_layout::quantity:
      out.u16(mex.count);
      break;
    case request_layout::counted:
      out.u16(mex.count);
      out.u8(row.sent->byte_count(mex.count));
      break;
  }
  return row.sent->to_message(data, out, mex.count);
}

mod_code read_returned(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  byte_writer data = data_writer(mex);
  const bool is_whole = !in.failed() && row.returned->to_data(in, data, mex.count);
  return is_whole ? MOD_NO_EXCEPTION : MOD_ILLEGAL_DATA_VALUE;
}

// Returns the code of what is wrong with the response, or MOD_NO_EXCEPTION.
mod_code read_response(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  if (row.returned == &payload::none && row.response != response_layout::short_quantity) {
    return MOD_NO_EXCEPTION;
  }
  if (row.response == response_layout::counted) {
    const std::uint8_t byte_count = in.u8();
    if (row.returned != &payload::bits) mex.count = byte_count / 2;
  } else if (row.response == response_layout::short_quantity) {
    mex.count = in.u8();
  } else {
    in.u16();
    mex.count = in.u16();
    if (mex.count > row.limit.most) return row.limit.code;
  }
  return read_returned(row, mex, in);
}

std::int32_t refuse(mod_mex& mex, std::uint8_t code) noexcept {
  set_exception(mex, code);
  return MOD_FAILED;
}

}  // namespace

std::int32_t mod_masterMexToBin(std::uint8_t protocol, mod_mex* mex,
                                std::uint8_t* output) noexcept {
  const mod_function* row = find_function(mex->fcn);
  if (row == nullptr || !row->is_asked_by_master) return refuse(*mex, MOD_ILLEGAL_FUNCTION);
  byte_writer out(output, mod_buffer_size);
  begin_message(out, protocol, *mex);
  out.u16(static_cast<std::uint16_t>(mex->ref - 1));
  note_quantity(*row, *mex);
  const bool is_whole = write_request(*row, *mex, out);
  return end_message(out, protocol, *mex, output, is_whole);
}

std::int32_t mod_masterBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                                std::int32_t length) noexcept {
  byte_reader in(message, static_cast<std::size_t>(std::max(length, 0)));
  read_head(in, protocol, *mex);
  if ((mex->fcn & 0x80) != 0) {
    const std::uint8_t code = in.u8();
    if (!in.failed()) return refuse(*mex, code);
  }
  if (in.failed()) return refuse(*mex, MOD_ILLEGAL_DATA_VALUE);
  const mod_function* row = find_function(mex->fcn);
  if (row == nullptr || !row->is_asked_by_master) return 0;
  const mod_code code = read_response(*row, *mex, in);
  return code == MOD_NO_EXCEPTION ? 0 : refuse(*mex, code);
}

}  // namespace ruvex
