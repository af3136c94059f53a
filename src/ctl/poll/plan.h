// What `ruvexctl poll` would send.
#pragma once

#include "bus/devices.h"
#include "lines.h"
#include "output.h"
#include "requests.h"

namespace ruvex {

// Prints a row for each request, and the sum with the time that the requests and their answers take
// on the serial line: 11 bits a character, and the silence between frames.
void print_plan(const device_list& devices, const block_limits& limits,
                const transport_settings& transport, output& out);

}  // namespace ruvex
