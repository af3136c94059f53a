// The points that `ruvexctl poll` reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus/devices.h"
#include "bus/point_value.h"
#include "points/point_lines.h"
#include "reading.h"

namespace ruvex {

struct poll_selection {
  std::string_view units;  // separated by commas; empty: all
  std::string points;      // a pattern of the shell for names; empty: all
};

// Takes away the points that are not selected and the units without any, and sorts the others for
// requests. A unit is selected by its name ("5", "10.0.0.5/3"), by its IP address, and on the
// serial line by a range ("5-9"). Gives the first of `units` that selects none; nothing when each
// does.
std::optional<std::string_view> select_points(device_list& devices, const poll_selection& wanted);

// A point with its place in the output.
struct poll_row {
  const unit_cfg* unit;
  const chn_cfg* chn;
  const bus_unit* device;  // null where the reference names no register
  const bus_point* point;  // the same
  std::size_t number;      // in the file, from 0
  std::int64_t line;       // of the mapping file; 0: none
  value_form form;         // of the point; none has kind unknown
};

// The rows of the points, in the order of the file. They point into the arguments.
std::vector<poll_row> rows_of(const device_list& devices, const point_lines& lines);

}  // namespace ruvex
