#include "plan.h"

#include <algorithm>
#include <string>

#include "bus/point_view.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct plan_sum {
  std::size_t requests = 0, items = 0, points = 0;
  std::int64_t line_us = 0;
};

// Microseconds of a request and its answer on a line with RTU, from silence to silence.
std::int64_t exchange_us(const poll_request& request, std::int64_t baud) noexcept {
  constexpr std::int64_t request_size = 8;
  constexpr std::int64_t answer_overhead = 5;
  constexpr std::int64_t least_silence_us = 1750;
  const std::int64_t data =
      holds_bits(request.table) ? (request.count + 7) / 8 : 2 * std::int64_t{request.count};
  const std::int64_t character_us = 11 * std::int64_t{1000000} / baud;
  const std::int64_t silence_us = std::max(character_us * 7 / 2, least_silence_us);
  return (request_size + answer_overhead + data) * character_us + 2 * silence_us;
}

void append_column(std::string& row, std::string_view text, std::size_t width) {
  row += "  ";
  row.append(width - std::min(width, text.size()), ' ');
  row += text;
}

// Thousandths as a decimal number.
std::string thousandths(std::int64_t number) {
  std::string digits = std::to_string(number);
  if (digits.size() < 4) digits.insert(0, 4 - digits.size(), '0');
  return digits.insert(digits.size() - 3, ".");
}

void print_row(const bus_unit& unit, const poll_request& request, std::int64_t us, output& out) {
  std::string name;
  append_unit(name, *unit.unit);
  std::string row;
  const std::size_t width = append_printable(row, name);
  row.append(20 - std::min<std::size_t>(width, 20), ' ');
  const bus_point& first = unit.points[request.first];
  append_column(row, std::to_string(reading_function(request.table)), 8);
  append_column(row, first.chn->reg_num.view(), 9);
  append_column(row, std::to_string(request.offset), 12);
  append_column(row, std::to_string(request.count), 5);
  append_column(row, std::to_string(request.end - request.first), 6);
  append_column(row, us == 0 ? "" : thousandths(us), 8);
  row.erase(row.find_last_not_of(' ') + 1);
  out.put(row += '\n');
}

std::string text_of(const plan_sum& sum) {
  std::string text =
      message(sum.requests, sum.requests == 1 ? " request for " : " requests for ", sum.items,
              sum.items == 1 ? " register or bit, " : " registers and bits, ", sum.points,
              sum.points == 1 ? " point" : " points");
  if (sum.line_us != 0) {
    text += message("; ", thousandths(sum.line_us / 1000), " s on the serial line");
  }
  return text += '\n';
}

}  // namespace

void print_plan(const device_list& devices, const block_limits& limits,
                const transport_settings& transport, output& out) {
  out.put("unit                  function  reference  wire address  count  points        ms\n");
  plan_sum sum;
  for (const bus_unit& unit : devices.units) {
    if (unit.defect != unit_defect::none) continue;
    const bool is_on_line = unit.host.empty() && transport.via.host.empty();
    for (const poll_request& request : requests_for(unit.points, limits)) {
      const std::int64_t us = is_on_line ? exchange_us(request, transport.format.baud) : 0;
      print_row(unit, request, us, out);
      ++sum.requests;
      sum.items += request.count;
      sum.points += request.end - request.first;
      sum.line_us += us;
    }
  }
  out.put(text_of(sum));
}

}  // namespace ruvex
