#include "modbus/functions.h"

#include "modbus/context.h"
#include "modbus/framing.h"

namespace ruvex {
namespace {

using req = request_layout;
using res = response_layout;
using enum reference;
using namespace payload;

constexpr quantity_limit any = {any_quantity, MOD_NO_EXCEPTION};
constexpr quantity_limit few = {32, MOD_ILLEGAL_DATA_ADDRESS};
constexpr quantity_limit block = {mod_data_size, MOD_NEGATIVE_ACKNOWLEDGE};

// clang-format off
constexpr mod_function functions[] = {
    {  1, req::quantity, &none,           res::counted,        echoed,    &bits,           few,   true},
    {  2, req::quantity, &none,           res::counted,        echoed,    &bits,           few,   true},
    {  3, req::quantity, &none,           res::counted,        echoed,    &registers,      few,   true},
    {  4, req::quantity, &none,           res::counted,        echoed,    &registers,      few,   true},
    {  5, req::coil,     &none,           res::coil,           echoed,    &none,           any,   true},
    {  6, req::word,     &none,           res::word,           echoed,    &none,           any,   true},
    { 15, req::counted,  &bits,           res::quantity,       echoed,    &none,           any,   true},
    { 16, req::counted,  &registers,      res::quantity,       echoed,    &none,           few,   true},
    {100, req::quantity, &none,           res::quantity,       echoed,    &strings,        any,   true},
    {101, req::quantity, &strings,        res::quantity,       echoed,    &none,           any,   true},
    {102, req::quantity, &registers,      res::quantity,       echoed,    &strings,        any,   true},
    {104, req::quantity, &bytes,          res::quantity,       zero,      &bytes,          block, true},
    {105, req::quantity, &words_or_bytes, res::quantity,       unshifted, &words_or_bytes, any,   true},
    {106, req::value,    &registers,      res::short_quantity, echoed,    &strings,        any,   true},
    {107, req::value,    &entries,        res::short_quantity, echoed,    &none,           any,   true},
    {108, req::quantity, &none,           res::counted,        echoed,    &registers,      few,   false},
};
// clang-format on

constexpr std::size_t mbap_size = 6;
constexpr std::size_t mbap_length_at = 4;

}  // namespace

const mod_function* find_function(std::uint8_t fcn) noexcept {
  for (const mod_function& row : functions) {
    if (row.fcn == fcn) return &row;
  }
  return nullptr;
}

void set_exception(mod_mex& mex, std::uint8_t code) noexcept {
  mex.fcn |= 0x80;
  mex.data[0] = code;
}

void begin_message(byte_writer& out, std::uint8_t protocol, const mod_mex& mex) noexcept {
  if (protocol == MOD_TCP) {
    out.u16(mex.tid);
    out.u16(mex.pid);
    out.u16(0);  // the length, once it is known
  }
  out.u8(mex.addr);
  out.u8(mex.fcn);
}

std::int32_t end_message(const byte_writer& out, std::uint8_t protocol, mod_mex& mex,
                         std::uint8_t* output, bool is_whole) noexcept {
  const auto length = static_cast<std::size_t>(out.position() - output);
  if (!is_whole || out.failed() || !fits_framed(protocol, output, length)) {
    set_exception(mex, MOD_ILLEGAL_DATA_VALUE);
    return -1;
  }
  if (protocol == MOD_TCP) {
    store_big(output + mbap_length_at, static_cast<std::uint16_t>(length - mbap_size));
  }
  return static_cast<std::int32_t>(length);
}

void read_head(byte_reader& in, std::uint8_t protocol, mod_mex& mex) noexcept {
  if (protocol == MOD_TCP) {
    mex.tid = in.u16();
    mex.pid = in.u16();
    mex.len = in.u16();
  }
  mex.addr = in.u8();
  mex.fcn = in.u8();
}

byte_reader data_reader(const mod_mex& mex, std::size_t offset) noexcept {
  return {mex.data + offset, mod_data_size - offset};
}

byte_writer data_writer(mod_mex& mex, std::size_t offset) noexcept {
  return {mex.data + offset, mod_data_size - offset};
}

}  // namespace ruvex
