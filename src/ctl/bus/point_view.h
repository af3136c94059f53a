// A point as people speak of it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Whether a unit is reached by Modbus: its type is "MODBUS" or "MODBUS_TCP".
bool is_modbus(const unit_cfg& unit) noexcept;

// Appends how a unit is called: "5", or "10.0.0.5/3" where it has an IP address; one that is not
// reached by Modbus by its type and address, "VIRTUAL 8" ("?" for an empty type).
void append_unit(std::string& out, const unit_cfg& unit);

// A point in its unit.
struct point {
  const unit_cfg& unit;
  const chn_cfg& chn;
  bool is_modbus;  // of the unit
};

// The register table in words: "coil", "discrete input", "input register", "holding register".
// Empty where the point has none: in a unit that is not reached by Modbus, and where the reference
// tells none.
std::string_view register_table(const point& point) noexcept;

// The offset in that table, from 0, as in a Modbus request. Nothing where the point has none.
std::optional<std::int32_t> wire_address(const point& point) noexcept;

// Appends the scaling as "0..27648 -> -50..150"; nothing when there is none, which is 0..1 -> 0..1
// or four empty texts.
void append_scaling(std::string& out, const chn_cfg& chn);

}  // namespace ruvex
