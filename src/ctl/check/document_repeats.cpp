#include "document_repeats.h"

#include <utility>

#include "bus/point_view.h"
#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

const text_place& place_of_field(const channel_places& places, std::size_t field) noexcept {
  if (field == field_name) return places.name;
  if (field == field_instance) return places.instance;
  return field == field_reference ? places.reference : places.channel;
}

}  // namespace

void document_repeats::check_unit(std::vector<finding>& list, const text_place& place,
                                  const unit_cfg& unit) {
  if (unit.address.empty()) return;
  const std::string_view ip_address = unit.ip_address.view();
  std::string name = message(unit.type.view(), " ", ip_address, ip_address.empty() ? "" : "/",
                             unit.address.view());
  const auto [first, is_new] = units_.try_emplace(std::move(name), place.line);
  if (is_new) return;
  list.push_back({rule::repeated_unit, static_cast<std::int64_t>(place.line), place.column,
                  no_field, message("unit ", first->first, " is in line ", first->second, " too")});
}

void document_repeats::check_channel(std::vector<finding>& list, const channel_places& places,
                                     const unit_cfg& unit, const chn_cfg& chn) {
  std::vector<finding> found;
  line_findings findings(static_cast<std::int64_t>(places.channel.line), {}, found);
  const mapping_line no_line = {};
  repeats_.check(findings, {no_line, chn, &unit, place_of(chn.reg_num.view()).table, false});
  for (finding& repeat : found) {
    if (repeat.field == field_reference && !is_modbus(unit)) continue;
    const text_place& place = place_of_field(places, repeat.field);
    list.push_back({repeat.id, static_cast<std::int64_t>(place.line), place.column, no_field,
                    std::move(repeat.text)});
  }
}

}  // namespace ruvex
