#include "devices.h"

#include <algorithm>
#include <tuple>

#include "point_view.h"
#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::int32_t last_table_offset = 65535;

void add_point(const unit_cfg& unit, const chn_cfg& chn, std::size_t number, bus_unit& device,
               std::vector<placeless_point>& placeless) {
  const register_place place = place_of(chn.reg_num.view());
  const bool is_wide = !is_bit_table(place.table) && chn.reg_size == "2";
  const bool is_placed = place.table != register_class::illegal && place.offset >= 0 &&
                         place.offset + (is_wide ? 1 : 0) <= last_table_offset;
  if (!is_placed) {
    placeless.push_back({&unit, &chn, number});
    return;
  }
  const auto words = static_cast<std::uint8_t>(is_wide ? 2 : 1);
  const auto offset = static_cast<std::uint16_t>(place.offset);
  device.points.push_back({&chn, number, place.table, offset, words});
}

bus_unit device_of(const unit_cfg& unit) {
  const bool is_tcp = unit.type == "MODBUS_TCP";
  const std::string_view host = is_tcp ? unit.ip_address.view() : std::string_view();
  if (is_tcp && host.empty()) return {&unit, {}, 0, unit_defect::host, {}};
  const bool is_address = is_number_within(unit.address.view(), 1, 247);
  if (!is_address) return {&unit, host, 0, unit_defect::address, {}};
  const auto address = static_cast<std::uint8_t>(decimal_prefix(unit.address.view()));
  return {&unit, host, address, unit_defect::none, {}};
}

}  // namespace

device_list devices_of(const yax_cfg& doc) {
  device_list list;
  std::size_t number = 0;
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    const bool is_reached = is_modbus(*unit);
    bus_unit device = device_of(*unit);
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next, ++number) {
      if (is_reached) add_point(*unit, *chn, number, device, list.placeless);
    }
    if (!is_reached) continue;
    std::ranges::sort(device.points, {}, [](const bus_point& point) {
      return std::tuple(point.table, point.offset, point.number);
    });
    list.units.push_back(std::move(device));
  }
  return list;
}

}  // namespace ruvex
