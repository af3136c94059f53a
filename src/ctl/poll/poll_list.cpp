#include "poll_list.h"

#include <fnmatch.h>

#include <algorithm>
#include <set>

#include "bus/point_view.h"
#include "requests.h"
#include "text/texts.h"

namespace ruvex {
namespace {

std::string name_of(const unit_cfg& unit) {
  std::string name;
  append_unit(name, unit);
  return name;
}

bool is_in_range(const bus_unit& unit, std::string_view range) noexcept {
  const std::size_t hyphen = range.find('-');
  if (hyphen == std::string_view::npos || !unit.host.empty()) return false;
  unsigned long first = 0;
  unsigned long last = 0;
  const bool is_range = parse_number(range.substr(0, hyphen), 247, first) &&
                        parse_number(range.substr(hyphen + 1), 247, last);
  return is_range && unit.address >= first && unit.address <= last;
}

// The parts of `units` in which a unit is found, by number.
class unit_choice {
 public:
  explicit unit_choice(std::string_view units) {
    while (!units.empty()) {
      const std::string_view part = units.substr(0, units.find(','));
      parts_.push_back({part, false});
      units.remove_prefix(std::min(part.size() + 1, units.size()));
    }
  }

  bool takes(const bus_unit& unit) {
    bool is_taken = parts_.empty();
    const std::string name = parts_.empty() ? std::string() : name_of(*unit.unit);
    for (choice_part& part : parts_) {
      const bool is_host = !unit.host.empty() && part.text == unit.host;
      if (part.text != name && !is_host && !is_in_range(unit, part.text)) continue;
      is_taken = part.is_used = true;
    }
    return is_taken;
  }

  std::optional<std::string_view> unused() const noexcept {
    const auto found = std::ranges::find(parts_, false, &choice_part::is_used);
    return found == parts_.end() ? std::nullopt : std::optional(found->text);
  }

 private:
  struct choice_part {
    std::string_view text;
    bool is_used;
  };
  std::vector<choice_part> parts_;
};

}  // namespace

std::optional<std::string_view> select_points(device_list& devices, const poll_selection& wanted) {
  unit_choice choice(wanted.units);
  std::erase_if(devices.units, [&](const bus_unit& unit) { return !choice.takes(unit); });
  const auto is_unwanted = [&](const auto& point) {
    return !wanted.points.empty() &&
           ::fnmatch(wanted.points.c_str(), point.chn->name.c_str(), 0) != 0;
  };
  for (bus_unit& unit : devices.units) {
    std::erase_if(unit.points, is_unwanted);
    sort_for_requests(unit.points);
  }
  std::set<const unit_cfg*> chosen;
  for (const bus_unit& unit : devices.units) chosen.insert(unit.unit);
  std::erase_if(devices.placeless, [&](const placeless_point& point) {
    return is_unwanted(point) || !chosen.contains(point.unit);
  });
  std::erase_if(devices.units, [](const bus_unit& unit) { return unit.points.empty(); });
  return choice.unused();
}

std::vector<poll_row> rows_of(const device_list& devices, const point_lines& lines) {
  std::vector<poll_row> rows;
  for (const bus_unit& unit : devices.units) {
    for (const bus_point& point : unit.points) {
      const std::int64_t line = lines.line_of(*point.chn);
      rows.push_back({unit.unit, point.chn, &unit, &point, point.number, line, form_of(point)});
    }
  }
  for (const placeless_point& point : devices.placeless) {
    const std::int64_t line = lines.line_of(*point.chn);
    rows.push_back({point.unit, point.chn, nullptr, nullptr, point.number, line, {}});
  }
  std::ranges::sort(rows, {}, &poll_row::number);
  return rows;
}

}  // namespace ruvex
