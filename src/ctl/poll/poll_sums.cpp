#include <algorithm>
#include <cstdio>
#include <string>

#include "bus/point_view.h"
#include "poll_report.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct polled_sum {
  std::size_t points = 0, read = 0, differing = 0;
  std::uint64_t requests = 0, retries = 0;
  std::uint32_t slowest_ms = 0;
};

polled_sum sum_of(const bus_unit& unit, const unit_sum& sum, std::span<const reading> readings) {
  polled_sum all = {unit.points.size(), 0, 0, sum.requests, sum.retries, sum.slowest_ms};
  for (const bus_point& point : unit.points) {
    const reading& got = readings[point.number];
    all.read += is_read(got) ? 1 : 0;
    all.differing += got.status == read_status::differs ? 1 : 0;
  }
  return all;
}

void add(polled_sum& all, const polled_sum& sum) noexcept {
  all.points += sum.points;
  all.read += sum.read;
  all.differing += sum.differing;
  all.requests += sum.requests;
  all.retries += sum.retries;
  all.slowest_ms = std::max(all.slowest_ms, sum.slowest_ms);
}

std::string counted(std::uint64_t count, std::string_view one, std::string_view several) {
  return message(count, " ", count == 1 ? one : several);
}

void print_sum(std::string_view name, const polled_sum& sum) {
  std::string line;
  append_visible(line, name);
  line += message(": ", counted(sum.points, "point", "points"), ", ", sum.read, " read");
  if (sum.read != sum.points) line += message(", ", sum.points - sum.read, " not");
  if (sum.differing != 0) line += message(", ", sum.differing, " not as expected");
  line += message("; ", counted(sum.requests, "request", "requests"));
  if (sum.retries != 0) line += message(", ", counted(sum.retries, "retry", "retries"));
  if (sum.slowest_ms != 0) line += message("; slowest answer ", sum.slowest_ms, " ms");
  line += '\n';
  std::fputs(line.c_str(), stderr);
}

}  // namespace

void print_sums(const poll_result& result) {
  polled_sum all;
  for (std::size_t at = 0; at < result.devices.units.size(); ++at) {
    const bus_unit& unit = result.devices.units[at];
    const polled_sum sum = sum_of(unit, result.sums[at], result.readings);
    std::string name = "unit ";
    append_unit(name, *unit.unit);
    print_sum(name, sum);
    add(all, sum);
  }
  all.points += result.devices.placeless.size();
  const std::size_t units = result.devices.units.size();
  if (units > 1) print_sum(message(units, " units"), all);
}

}  // namespace ruvex
