#include "point_view.h"

#include "ruvex/mapping/register_place.h"

namespace ruvex {

bool is_modbus(const unit_cfg& unit) noexcept {
  return unit.type == "MODBUS" || unit.type == "MODBUS_TCP";
}

void append_unit(std::string& out, const unit_cfg& unit) {
  if (!is_modbus(unit)) {
    out += unit.type.empty() ? "?" : unit.type.view();
    out += ' ';
  } else if (unit.type == "MODBUS_TCP" || !unit.ip_address.empty()) {
    out += unit.ip_address.view();
    out += '/';
  }
  out += unit.address.view();
}

std::string_view register_table(const point& point) noexcept {
  return point.is_modbus ? table_name(place_of(point.chn.reg_num.view()).table) : "";
}

std::optional<std::int32_t> wire_address(const point& point) noexcept {
  const register_place place = place_of(point.chn.reg_num.view());
  const bool is_told = point.is_modbus && place.table != register_class::illegal;
  if (!is_told || place.offset < 0) return std::nullopt;
  return place.offset;
}

void append_scaling(std::string& out, const chn_cfg& chn) {
  const auto is = [&chn](std::string_view lo, std::string_view hi) {
    return chn.scl_dev_lo == lo && chn.scl_dev_hi == hi && chn.scl_usr_lo == lo &&
           chn.scl_usr_hi == hi;
  };
  if (is("0", "1") || is("", "")) return;
  const std::string_view parts[] = {chn.scl_dev_lo.view(), "..", chn.scl_dev_hi.view(), " -> ",
                                    chn.scl_usr_lo.view(), "..", chn.scl_usr_hi.view()};
  for (const std::string_view part : parts) out += part;
}

}  // namespace ruvex
