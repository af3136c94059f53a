// The answers of a Modbus slave to the requests of masters, without the frames around them.
//
// "MODBUS Application Protocol Specification V1.1b3" describes requests and answers in section 6,
// their lengths in section 4.1 and the exceptions in section 7.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "register_image.h"

namespace ruvex {

// The longest request or answer: a function code and its data.
inline constexpr std::size_t longest_pdu = 253;

// A function code that is served.
struct served_function {
  std::uint8_t code;
  register_class table;
  bool is_bits;
  bool is_write;
  bool is_many;  // a write with a quantity and a byte count
  std::uint16_t most;
  std::string_view text;  // what it does
};

// A request as it was read.
struct table_request {
  std::uint8_t code;                     // 0 where the request is empty
  const served_function* function;       // null: not served
  std::size_t first, count;              // addresses; those of a request that is not whole are 0
  std::span<const std::uint8_t> values;  // of a write
  std::uint8_t exception;                // 0: the request is a legal one
};

struct answer_rules {
  bool takes_writes = false;
  bool unmapped_is_zero = false;  // to reads; nothing is written there
};

// Reads a request; what `request` refers to outlives the result.
table_request read_request(std::span<const std::uint8_t> request) noexcept;

// The exception that a unit has for a request; 0 for none.
std::uint8_t exception_of(served_unit& unit, const table_request& request,
                          const answer_rules& rules) noexcept;

// Carries out a request for which there is no exception. `answer` has room for longest_pdu bytes.
// Gives the length of the answer.
std::size_t answer_request(served_unit& unit, const table_request& request,
                           std::uint8_t* answer) noexcept;

// An exception in place of the answer; its length.
std::size_t answer_exception(const table_request& request, std::uint8_t exception,
                             std::uint8_t* answer) noexcept;

}  // namespace ruvex
