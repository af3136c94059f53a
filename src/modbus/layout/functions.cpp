#include "functions.h"

#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {
namespace {

using req = request_layout;
using res = response_layout;
using enum master_use;
using enum reference;
using namespace payload;

constexpr frame_length open = {function_at, MOD_LEN_OPEN};

constexpr frame_length fixed(std::int16_t length) noexcept {
  return {function_at, length};
}

// Of a frame with a byte count at `at`, the bytes counted and the CRC.
constexpr frame_length count_at(std::uint8_t at) noexcept {
  return {at, static_cast<std::int16_t>(at + 3)};
}

constexpr frame_length exception = fixed(5);

constexpr quantity_limit any = {0xFFFF, MOD_NO_EXCEPTION};
constexpr quantity_limit one = {1, MOD_NO_EXCEPTION};
constexpr quantity_limit few = {32, MOD_ILLEGAL_DATA_ADDRESS};
constexpr quantity_limit block = {mod_data_size, MOD_NEGATIVE_ACKNOWLEDGE};

// The codec's own codes are of open length, although some could tell theirs: strings cannot, and a
// line has one rule for all of them. The references that 104 and 105 answer with are no mistakes to
// be put right: partners expect them.
//
// Code, use by a master, quantity, request (layout, length, payload), response (layout, length,
// reference, payload).
// clang-format off
constexpr mod_function functions[] = {
    {  1, reads,  few,   {req::quantity, fixed(8),    &none},           {res::counted,        count_at(2), echoed,    &bits}},
    {  2, reads,  few,   {req::quantity, fixed(8),    &none},           {res::counted,        count_at(2), echoed,    &bits}},
    {  3, reads,  few,   {req::quantity, fixed(8),    &none},           {res::counted,        count_at(2), echoed,    &registers}},
    {  4, reads,  few,   {req::quantity, fixed(8),    &none},           {res::counted,        count_at(2), echoed,    &registers}},
    {  5, writes, one,   {req::coil,     fixed(8),    &none},           {res::coil,           fixed(8),    echoed,    &none}},
    {  6, writes, one,   {req::fixed,    fixed(8),    &registers},      {res::fixed,          fixed(8),    echoed,    &registers}},
    { 15, writes, any,   {req::counted,  count_at(6), &bits},           {res::quantity,       fixed(8),    echoed,    &none}},
    { 16, writes, few,   {req::counted,  count_at(6), &registers},      {res::quantity,       fixed(8),    echoed,    &none}},
    {100, reads,  any,   {req::quantity, open,        &none},           {res::quantity,       open,        echoed,    &strings}},
    {101, writes, any,   {req::quantity, open,        &strings},        {res::quantity,       open,        echoed,    &none}},
    {102, reads,  any,   {req::quantity, open,        &registers},      {res::quantity,       open,        echoed,    &strings}},
    {104, reads,  block, {req::quantity, open,        &bytes},          {res::quantity,       open,        zero,      &bytes}},
    {105, reads,  any,   {req::quantity, open,        &words_or_bytes}, {res::quantity,       open,        unshifted, &words_or_bytes}},
    {106, reads,  any,   {req::value,    open,        &registers},      {res::short_quantity, open,        echoed,    &strings}},
    {107, reads,  any,   {req::value,    open,        &entries},        {res::short_quantity, open,        echoed,    &none}},
    {108, never,  few,   {req::quantity, open,        &none},           {res::counted,        open,        echoed,    &registers}},
};
// clang-format on

}  // namespace

std::int16_t frame_length::of(const std::uint8_t* frame) const noexcept {
  const int counted = told_at == function_at ? 0 : frame[told_at];
  return static_cast<std::int16_t>(least + counted);
}

// A search of so few rows takes less time than what it is for; no index has to follow the table.
const mod_function* find_function(std::uint8_t fcn) noexcept {
  for (const mod_function& row : functions) {
    if (row.fcn == fcn) return &row;
  }
  return nullptr;
}

const frame_length& request_length(std::uint8_t fcn) noexcept {
  const mod_function* row = find_function(fcn);
  return row == nullptr ? open : row->request.length;
}

const frame_length& response_length(std::uint8_t fcn) noexcept {
  if ((fcn & exception_bit) != 0) return exception;
  const mod_function* row = find_function(fcn);
  return row == nullptr ? open : row->response.length;
}

}  // namespace ruvex
