// What goes over a line, frame by frame.
#pragma once

#include <cstdint>

#include "bus/devices.h"
#include "requests.h"
#include "ruvex/modbus/client.h"

namespace ruvex {

// Prints two lines on standard error: the request with its bytes and its meaning, and what has come
// of it after so many milliseconds. Of a request that was repeated the last one is printed.
void print_trace(const mod_client& client, const bus_unit& unit, const poll_request& request,
                 const mod_outcome& outcome, std::uint32_t ms);

}  // namespace ruvex
