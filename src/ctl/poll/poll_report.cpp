#include "poll_report.h"

#include <string>

#include "bus/point_view.h"
#include "poll_text.h"
#include "ruvex/modbus/client.h"
#include "ruvex/modbus/frame.h"
#include "text/texts.h"

namespace ruvex {
namespace {

std::string_view skip_reason(const poll_row& row, const poll_result& result) {
  if (row.point == nullptr) return "the reference names no register";
  if (row.device->defect == unit_defect::address) return "the unit has no address from 1 to 247";
  if (row.device->defect == unit_defect::host) return "the unit has no IP address";
  const auto number = static_cast<std::size_t>(row.device - result.devices.units.data());
  return result.sums[number].has_line ? "not asked any more"
                                      : "not asked, since it has no line; see --serial and --via";
}

bool is_failure(const poll_row& row, const poll_result& result) noexcept {
  return !is_read(result.readings[row.number]);
}

// Whether `next`, which follows `row`, has failed in the same way and stands behind it.
bool is_alike(const poll_row& row, const poll_row& next, const poll_result& result) noexcept {
  const reading& one = result.readings[row.number];
  const reading& other = result.readings[next.number];
  const bool is_next_line = next.line == (row.line == 0 ? 0 : row.line + 1);
  const bool has_place = row.point != nullptr && next.point != nullptr;
  return has_place && row.device == next.device && row.point->table == next.point->table &&
         is_next_line && one.status == other.status && one.code == other.code;
}

void print_failure(const poll_row& first, const poll_row& last, std::size_t count,
                   const poll_result& result) {
  std::string text = "unit ";
  append_unit(text, *first.unit);
  const bool has_place = first.point != nullptr;
  const bool is_range = has_place && first.point->offset != last.point->offset;
  text += message(", ", first.chn->reg_num.view());
  if (is_range) text += message(" to ", last.chn->reg_num.view());
  if (has_place) text += message(" (wire address ", first.point->offset);
  if (is_range) text += message(" to ", last.point->offset);
  text += message(has_place ? "): " : ": ", failure_of(first, result));
  if (count > 1) text += message(", ", count, " points");
  print_point_error(result.path, first.line, last.line, text);
}

}  // namespace

std::string failure_of(const poll_row& row, const poll_result& result) {
  const reading& got = result.readings[row.number];
  switch (got.status) {
    case read_status::skipped:
      return std::string(skip_reason(row, result));
    case read_status::timeout:
      return mod_outcomeText({mod_status::timeout, 0, 0});
    case read_status::exception:
      return message(mod_errStr(got.code), " (exception ", got.code, ")");
    case read_status::corrupt:
      return mod_outcomeText({mod_status::corrupt, 0, 0});
    case read_status::stale:
      return mod_outcomeText({mod_status::stale, 0, 0});
    default:
      return mod_outcomeText({mod_status::closed, 0, 0});
  }
}

void print_failures(const poll_result& result) {
  const auto& rows = result.rows;
  for (std::size_t at = 0; at < rows.size();) {
    std::size_t end = at + 1;
    if (!is_failure(rows[at], result)) {
      at = end;
      continue;
    }
    while (end < rows.size() && is_alike(rows[end - 1], rows[end], result)) ++end;
    print_failure(rows[at], rows[end - 1], end - at, result);
    at = end;
  }
}

}  // namespace ruvex
