// The requests that read the points of a unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "bus/devices.h"

namespace ruvex {

struct block_limits {
  std::uint16_t registers = 32;  // of a request, 1 to 125; 16 times as many bits, at most 512
  std::uint16_t gap = 0;         // unmapped ones in a row that may be read along
};

// A request for a row of registers or bits, and the points that stand in it.
struct poll_request {
  register_class table;
  std::uint16_t offset;
  std::uint16_t count;
  std::size_t first, end;  // of the points
};

// Puts the points into the order that requests are made in.
void sort_for_requests(std::vector<bus_point>& points);

// The requests for points in that order, as few as the limits allow. A value of two registers
// stands in one request, even where a request is to have one register.
std::vector<poll_request> requests_for(std::span<const bus_point> points,
                                       const block_limits& limits);

// Whether a request has points in different places, so that it can be split.
bool is_divisible(std::span<const bus_point> points, const poll_request& request) noexcept;

// The two requests for the points of a divisible one, about half of them each.
std::pair<poll_request, poll_request> split(std::span<const bus_point> points,
                                            const poll_request& request) noexcept;

// Whether the items of a table are bits.
constexpr bool holds_bits(register_class table) noexcept {
  return table == register_class::coil || table == register_class::discrete_input;
}

}  // namespace ruvex
