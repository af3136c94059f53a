#include "ruvex/modbus/master.h"

#include "conversion.h"
#include "layout/functions.h"

namespace ruvex {
namespace {

const mod_function* find_asked(std::uint8_t fcn) noexcept {
  const mod_function* row = find_function(fcn);
  return row == nullptr || row->master == master_use::never ? nullptr : row;
}

bool write_request(const mod_function& row, mod_mex& mex, byte_writer& out) noexcept {
  byte_reader data = data_reader(mex);
  const payload_coder& sent = *row.request.payload;
  switch (row.request.layout) {
    case request_layout::coil: {
      const std::uint16_t value = mex.data[0] == 1 ? coil_on : 0;
      store_host(mex.data, value);  // the record tells what has been sent
      out.u16(value);
      return true;
    }
    case request_layout::fixed:
      return sent.to_message(data, out, row.quantity.most);
    case request_layout::value:
      mex.count = value_quantity(mex);
      out.u32(load_host<std::uint32_t>(data.take(value_size)));
      break;
    case request_layout::quantity:
      out.u16(mex.count);
      break;
    case request_layout::counted:
      out.u16(mex.count);
      out.u8(sent.byte_count(mex.count));
      break;
  }
  return sent.to_message(data, out, mex.count);
}

// Returns the code of what is wrong with the response, or MOD_NO_EXCEPTION.
mod_code read_response(const mod_function& row, mod_mex& mex, byte_reader& in) noexcept {
  if (row.response.layout == response_layout::counted) {
    // Bytes do not tell how many bits of the last one are meant. The request does.
    const std::uint8_t byte_count = in.u8();
    if (row.response.payload != &payload::bits) mex.count = byte_count / 2;
  } else if (row.response.layout == response_layout::short_quantity) {
    mex.count = in.u8();
  } else {
    in.u16();
    mex.count = in.u16();
    if (mex.count > row.quantity.most) return row.quantity.code;
  }
  return read_payload(*row.response.payload, in, mex, mex.count);
}

}  // namespace

std::int32_t mod_masterMexToBin(std::uint8_t protocol, mod_mex* mex,
                                std::uint8_t* output) noexcept {
  const mod_function* row = find_asked(mex->fcn);
  if (row == nullptr) return refuse(*mex, MOD_ILLEGAL_FUNCTION);
  byte_writer out(output, mod_buffer_size);
  begin_message(out, protocol, *mex);
  out.u16(static_cast<std::uint16_t>(mex->ref - 1));
  const bool is_whole = write_request(*row, *mex, out);
  return end_message(out, protocol, *mex, output, is_whole);
}

std::int32_t mod_masterBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                                std::int32_t length) noexcept {
  byte_reader in = open_message(protocol, *mex, message, length);
  if ((mex->fcn & exception_bit) != 0) {
    const std::uint8_t code = in.u8();
    if (!in.failed()) return refuse(*mex, code);
  }
  if (in.failed()) return refuse(*mex, MOD_ILLEGAL_DATA_VALUE);
  // A function code that was not asked for is no failure: comparing is the application's decision.
  const mod_function* row = find_asked(mex->fcn);
  if (row == nullptr || row->master != master_use::reads) return 0;
  const mod_code code = read_response(*row, *mex, in);
  return code == MOD_NO_EXCEPTION ? 0 : refuse(*mex, code);
}

}  // namespace ruvex
