#include "answer.h"

#include <algorithm>
#include <iterator>

#include "ruvex/modbus/codes.h"

namespace ruvex {
namespace {

constexpr std::size_t read_size = 5;        // code, first address, quantity
constexpr std::size_t write_many_head = 6;  // the same and a byte count
constexpr std::size_t table_end = 65536;
constexpr std::uint16_t coil_on = 0xFF00;

using enum register_class;

constexpr served_function served_functions[] = {
    {1, coil, true, false, false, 2000, "read coils"},
    {2, discrete_input, true, false, false, 2000, "read discrete inputs"},
    {3, holding_register, false, false, false, 125, "read holding registers"},
    {4, input_register, false, false, false, 125, "read input registers"},
    {5, coil, true, true, false, 1, "write coil"},
    {6, holding_register, false, true, false, 1, "write register"},
    {15, coil, true, true, true, 1968, "write coils"},
    {16, holding_register, false, true, true, 123, "write registers"},
};

constexpr std::size_t payload_size(const served_function& function, std::size_t count) noexcept {
  return function.is_bits ? (count + 7) / 8 : count * 2;
}

// The longest answers and requests fill what they are allowed.
static_assert(std::ranges::all_of(served_functions, [](const served_function& function) {
  const std::size_t head = function.is_many ? write_many_head : 2;
  return head + payload_size(function, function.most) <= longest_pdu;
}));

const served_function* find_function(std::uint8_t code) noexcept {
  const auto* const found = std::ranges::find(served_functions, code, &served_function::code);
  return found == std::end(served_functions) ? nullptr : found;
}

std::uint16_t big_word(std::span<const std::uint8_t> bytes, std::size_t at) noexcept {
  return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

void put_big_word(std::uint8_t* bytes, std::size_t word) noexcept {
  bytes[0] = static_cast<std::uint8_t>(word >> 8);
  bytes[1] = static_cast<std::uint8_t>(word);
}

bool is_quantity(const table_request& request) noexcept {
  return request.count >= 1 && request.count <= request.function->most;
}

// What a write of one value holds stands where others have their quantity.
bool read_one(std::span<const std::uint8_t> bytes, table_request& request) noexcept {
  request.count = 1;
  request.values = bytes.subspan(3);
  const std::uint16_t value = big_word(bytes, 3);
  return !request.function->is_bits || value == 0 || value == coil_on;
}

bool read_many(std::span<const std::uint8_t> bytes, table_request& request) noexcept {
  request.count = big_word(bytes, 3);
  if (bytes.size() < write_many_head || !is_quantity(request)) return false;
  request.values = bytes.subspan(write_many_head);
  const std::size_t size = payload_size(*request.function, request.count);
  return bytes[write_many_head - 1] == size && request.values.size() == size;
}

// False where its lengths, its quantity or the value of a coil are not legal.
bool read_fields(std::span<const std::uint8_t> bytes, table_request& request) noexcept {
  if (bytes.size() < read_size || bytes.size() > longest_pdu) return false;
  request.first = big_word(bytes, 1);
  if (request.function->is_many) return read_many(bytes, request);
  if (bytes.size() != read_size) return false;
  if (request.function->is_write) return read_one(bytes, request);
  request.count = big_word(bytes, 3);
  return is_quantity(request);
}

std::size_t answer_read(served_unit& unit, const table_request& request,
                        std::uint8_t* answer) noexcept {
  const served_function& function = *request.function;
  const std::size_t size = payload_size(function, request.count);
  answer[1] = static_cast<std::uint8_t>(size);
  std::uint8_t* const values = answer + 2;
  std::fill_n(values, size, std::uint8_t{0});
  for (register_cell& cell : unit.table(function.table).within(request.first, request.count)) {
    const std::size_t at = cell.offset - request.first;
    cell.is_read = true;
    if (!function.is_bits) {
      put_big_word(values + at * 2, cell.word);
    } else if (cell.word != 0) {
      values[at / 8] = static_cast<std::uint8_t>(values[at / 8] | 1U << at % 8);
    }
  }
  return 2 + size;
}

// A value of a write: the word of a register; of a coil 0, or another number for on.
std::uint16_t value_at(const table_request& request, std::size_t at) noexcept {
  const bool is_bit_of_many = request.function->is_bits && request.function->is_many;
  if (!is_bit_of_many) return big_word(request.values, at * 2);
  return static_cast<std::uint16_t>(request.values[at / 8] >> at % 8 & 1);
}

// The answer repeats what was asked: address and value, or address and quantity.
std::size_t answer_write(served_unit& unit, const table_request& request,
                         std::uint8_t* answer) noexcept {
  const served_function& function = *request.function;
  for (register_cell& cell : unit.table(function.table).within(request.first, request.count)) {
    const std::uint16_t value = value_at(request, cell.offset - request.first);
    cell.word = function.is_bits ? static_cast<std::uint16_t>(value != 0) : value;
  }
  put_big_word(answer + 1, request.first);
  put_big_word(answer + 3, function.is_many ? request.count : big_word(request.values, 0));
  return read_size;
}

}  // namespace

table_request read_request(std::span<const std::uint8_t> request) noexcept {
  table_request read = {};
  if (!request.empty()) read.code = request[0];
  read.function = find_function(read.code);
  if (read.function == nullptr) {
    read.exception = MOD_ILLEGAL_FUNCTION;
  } else if (!read_fields(request, read)) {
    read.exception = MOD_ILLEGAL_DATA_VALUE;
  } else if (read.first + read.count > table_end) {
    read.exception = MOD_ILLEGAL_DATA_ADDRESS;
  }
  return read;
}

std::uint8_t exception_of(served_unit& unit, const table_request& request,
                          const answer_rules& rules) noexcept {
  const bool is_write = request.function != nullptr && request.function->is_write;
  if (is_write && !rules.takes_writes) return MOD_ILLEGAL_FUNCTION;
  if (request.exception != 0) return request.exception;
  if (!is_write && rules.unmapped_is_zero) return MOD_NO_EXCEPTION;
  const std::size_t mapped =
      unit.table(request.function->table).within(request.first, request.count).size();
  return mapped == request.count ? MOD_NO_EXCEPTION : MOD_ILLEGAL_DATA_ADDRESS;
}

std::size_t answer_request(served_unit& unit, const table_request& request,
                           std::uint8_t* answer) noexcept {
  answer[0] = request.code;
  return request.function->is_write ? answer_write(unit, request, answer)
                                    : answer_read(unit, request, answer);
}

std::size_t answer_exception(const table_request& request, std::uint8_t exception,
                             std::uint8_t* answer) noexcept {
  answer[0] = static_cast<std::uint8_t>(request.code | 0x80);
  answer[1] = exception;
  return 2;
}

}  // namespace ruvex
