#include "faults.h"

#include <algorithm>
#include <string>

#include "bus/point_view.h"
#include "command.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct fault_name {
  std::string_view text;
  fault_kind kind;
  std::int32_t lowest, highest;  // of its number; 0 and 0 where it has none
};

constexpr fault_name fault_names[] = {
    {"silent", fault_kind::silent, 0, 0},
    {"delay", fault_kind::delay, 1, 3600000},
    {"exception", fault_kind::exception, 1, 127},
    {"stale", fault_kind::stale, 0, 0},
    {"swap", fault_kind::swap, 0, 0},
};

// False where it is no fault, or its number is none.
bool parse_kind(std::string_view text, wanted_fault& wanted) noexcept {
  const std::size_t colon = std::min(text.find(':'), text.size());
  const auto* const found =
      std::ranges::find(fault_names, text.substr(0, colon), &fault_name::text);
  if (found == std::end(fault_names)) return false;
  wanted.kind = found->kind;
  if (found->highest == 0) return colon == text.size();
  const std::string_view number = text.substr(std::min(colon + 1, text.size()));
  wanted.number = static_cast<std::int32_t>(decimal_prefix(number));
  return is_number_within(number, found->lowest, found->highest);
}

std::string unit_name_of(const served_point& served) {
  std::string name;
  append_unit(name, *served.unit);
  return name;
}

}  // namespace

std::optional<wanted_fault> parse_fault(std::string_view text) noexcept {
  const std::size_t equal = text.find('=');
  if (equal == std::string_view::npos) return std::nullopt;
  const std::string_view place = text.substr(0, equal);
  const std::size_t colon = std::min(place.find(':'), place.size());
  wanted_fault wanted = {place.substr(0, colon), {}, fault_kind::silent, 0};
  if (colon != place.size()) wanted.reference = place.substr(colon + 1);
  const bool is_place =
      !wanted.unit.empty() && (colon == place.size() || !wanted.reference.empty());
  if (!is_place || !parse_kind(text.substr(equal + 1), wanted)) return std::nullopt;
  return wanted;
}

bool planted_faults::plant(const wanted_fault& wanted, register_image& image) {
  bool is_planted = false;
  for (served_unit& unit : image.units) {
    bool is_of_unit = false;
    for (served_point& served : unit.points()) {
      const bool is_meant =
          unit_name_of(served) == wanted.unit &&
          (wanted.reference.empty() || served.point.chn->reg_num.view() == wanted.reference);
      if (!is_meant) continue;
      is_of_unit = true;
      if (wanted.kind == fault_kind::swap) served.is_swapped = served.point.words == 2;
      if (wanted.reference.empty()) continue;
      const place where = {served.point.table, served.point.offset, served.point.words};
      faults_.push_back({&unit, where, wanted.kind, wanted.number});
    }
    if (!is_of_unit) continue;
    is_planted = true;
    if (wanted.reference.empty()) faults_.push_back({&unit, {}, wanted.kind, wanted.number});
  }
  return is_planted;
}

bool planted_faults::meets(const planted& fault, const table_request& request) noexcept {
  if (!fault.where) return true;
  const bool is_in_table =
      request.function != nullptr && request.function->table == fault.where->table;
  return is_in_table && request.first < fault.where->first + fault.where->count &&
         fault.where->first < request.first + request.count;
}

fault_effect planted_faults::on(const served_unit& unit,
                                const table_request& request) const noexcept {
  fault_effect effect;
  for (const planted& fault : faults_) {
    if (fault.unit != &unit || !meets(fault, request)) continue;
    effect.is_silent |= fault.kind == fault_kind::silent;
    effect.is_stale |= fault.kind == fault_kind::stale;
    if (fault.kind == fault_kind::exception) {
      effect.exception = static_cast<std::uint8_t>(fault.number);
    }
    if (fault.kind == fault_kind::delay) effect.delay_ms = std::max(effect.delay_ms, fault.number);
  }
  return effect;
}

}  // namespace ruvex
