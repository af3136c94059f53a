#include "functions.h"

#include "framing.h"
#include "ruvex/modbus/context.h"

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
    {  1, true,  req::quantity, res::counted,        echoed,    &none,           &bits,           few},
    {  2, true,  req::quantity, res::counted,        echoed,    &none,           &bits,           few},
    {  3, true,  req::quantity, res::counted,        echoed,    &none,           &registers,      few},
    {  4, true,  req::quantity, res::counted,        echoed,    &none,           &registers,      few},
    {  5, true,  req::coil,     res::coil,           echoed,    &none,           &none,           any},
    {  6, true,  req::word,     res::word,           echoed,    &none,           &none,           any},
    { 15, true,  req::counted,  res::quantity,       echoed,    &bits,           &none,           any},
    { 16, true,  req::counted,  res::quantity,       echoed,    &registers,      &none,           few},
    {100, true,  req::quantity, res::quantity,       echoed,    &none,           &strings,        any},
    {101, true,  req::quantity, res::quantity,       echoed,    &strings,        &none,           any},
    {102, true,  req::quantity, res::quantity,       echoed,    &registers,      &strings,        any},
    {104, true,  req::quantity, res::quantity,       zero,      &bytes,          &bytes,          block},
    {105, true,  req::quantity, res::quantity,       unshifted, &words_or_bytes, &words_or_bytes, any},
    {106, true,  req::value,    res::short_quantity, echoed,    &registers,      &strings,        any},
    {107, true,  req::value,    res::short_quantity, echoed,    &entries,        &none,           any},
    {108, false, req::quantity, res::counted,        echoed,    &none,           &registers,      few},
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
    return MOD_FAILED;
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
