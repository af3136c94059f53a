#include "requests.h"

#include <algorithm>
#include <tuple>

#include "ruvex/modbus/client.h"

namespace ruvex {
namespace {

std::int32_t behind(const bus_point& point) noexcept {
  return point.offset + point.words;
}

bool is_same_place(const bus_point& one, const bus_point& other) noexcept {
  return one.offset == other.offset && one.words == other.words;
}

std::int32_t most_items(register_class table, const block_limits& limits) noexcept {
  const std::int32_t most = limits.registers;
  return holds_bits(table) ? std::min<std::int32_t>(16 * most, mod_most_coils) : most;
}

poll_request request_for(std::span<const bus_point> points, std::size_t first,
                         std::size_t end) noexcept {
  std::int32_t last = 0;
  for (std::size_t at = first; at < end; ++at) last = std::max(last, behind(points[at]));
  const bus_point& start = points[first];
  const auto count = static_cast<std::uint16_t>(last - start.offset);
  return {start.table, start.offset, count, first, end};
}

// The number of the first point that does not stand in the request which begins with `first`.
std::size_t end_of_request(std::span<const bus_point> points, std::size_t first,
                           const block_limits& limits) noexcept {
  const bus_point& start = points[first];
  const std::int32_t most = most_items(start.table, limits);
  std::int32_t last = behind(start);
  std::size_t at = first + 1;
  for (; at < points.size(); ++at) {
    const bus_point& point = points[at];
    const bool is_near = point.table == start.table && point.offset <= last + limits.gap;
    const std::int32_t longer = std::max(last, behind(point));
    const bool has_room = longer == last || longer - start.offset <= most;
    if (!is_near || !has_room) break;
    last = longer;
  }
  return at;
}

}  // namespace

void sort_for_requests(std::vector<bus_point>& points) {
  std::ranges::sort(points, {}, [](const bus_point& point) {
    return std::tuple(point.table, point.offset, point.words, point.number);
  });
}

std::vector<poll_request> requests_for(std::span<const bus_point> points,
                                       const block_limits& limits) {
  std::vector<poll_request> requests;
  for (std::size_t first = 0; first < points.size();) {
    const std::size_t end = end_of_request(points, first, limits);
    requests.push_back(request_for(points, first, end));
    first = end;
  }
  return requests;
}

// The points are sorted: where the first and the last one have one place, all have it.
bool is_divisible(std::span<const bus_point> points, const poll_request& request) noexcept {
  return !is_same_place(points[request.first], points[request.end - 1]);
}

std::pair<poll_request, poll_request> split(std::span<const bus_point> points,
                                            const poll_request& request) noexcept {
  const auto is_border = [&](std::size_t at) { return !is_same_place(points[at - 1], points[at]); };
  const std::size_t middle = request.first + (request.end - request.first) / 2;
  std::size_t border = middle;
  while (border > request.first && !is_border(border)) --border;
  if (border == request.first) {
    border = middle + 1;
    while (!is_border(border)) ++border;
  }
  return {request_for(points, request.first, border), request_for(points, border, request.end)};
}

}  // namespace ruvex
