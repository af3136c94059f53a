// The devices of a list as a Modbus master or slave sees them: units, tables, offsets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

// A point with a place in a table.
struct bus_point {
  const chn_cfg* chn;
  std::size_t number;    // in its file, from 0, those without a place counted
  register_class table;  // never illegal
  std::uint16_t offset;  // in the table, from 0, as on the wire
  std::uint8_t words;    // registers of the value, 1 or 2; 1 for a coil or a discrete input
};

// Why nothing is sent to a unit.
enum class unit_defect : std::uint8_t {
  none,
  address,  // it has no number from 1 to 247: 0 is a broadcast, what is above 247 is reserved
  host,     // a Modbus/TCP unit without an IP address
};

struct bus_unit {
  const unit_cfg* unit;
  std::string_view host;  // empty: it stands on the serial line
  std::uint8_t address;   // 0 where it has a defect
  unit_defect defect;
  std::vector<bus_point> points;  // by table and offset, then as in the file
};

// A point of a Modbus unit whose reference names no register, or two that its table has not.
struct placeless_point {
  const unit_cfg* unit;
  const chn_cfg* chn;
  std::size_t number;
};

struct device_list {
  std::vector<bus_unit> units;  // those that are reached by Modbus, as in the file
  std::vector<placeless_point> placeless;
};

// The devices of a document, which outlives them.
device_list devices_of(const yax_cfg& doc);

// The function code that reads a table, 1 to 4.
constexpr std::uint8_t reading_function(register_class table) noexcept {
  switch (table) {
    case register_class::coil:
      return 1;
    case register_class::discrete_input:
      return 2;
    case register_class::holding_register:
      return 3;
    default:
      return 4;
  }
}

}  // namespace ruvex
