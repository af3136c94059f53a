// The one place of `ruvexctl poll` from which something is sent to a device.
#pragma once

#include <cstdint>

#include "ruvex/mapping/rules.h"
#include "ruvex/modbus/client.h"

namespace ruvex {

// Reads `count` registers or bits (0 or 1 each) of a table into `words`, which keep what they hold
// on a failure. It takes a table and no function code, so that nothing but a read can be asked for
// (function codes 1 to 4). Units beyond 1 to 247, which are all or none, and tables that are none
// are refused, and nothing is sent. `words` has room for mod_most_coils.
mod_outcome read_table(mod_client& client, std::uint8_t unit, register_class table,
                       std::uint16_t offset, std::uint16_t count, std::uint16_t* words) noexcept;

}  // namespace ruvex
