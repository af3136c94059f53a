// The object list that a head-end imports: BACnet Engineering Data Exchange, layout 2.3.
#pragma once

#include <cstdint>

#include "output.h"
#include "point_lines.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

// Prints the points of `doc`, read from `path`, as the objects of the device with this instance.
// Gives a ctl_status. Where a point has no number for its object type, its instance or its units,
// or the object of another point, a message tells so for each of these points, and nothing is
// printed.
int print_ede(const yax_cfg& doc, const char* path, const point_lines& lines, std::int64_t device,
              output& out);

}  // namespace ruvex
