#include "ruvex/mapping/point_reader.h"

#include <utility>

#include "field_rules.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/defaults.h"

namespace ruvex {
namespace {

// What the fields of one line have in common.
struct mapping_point {
  unit_index& units;
  point_listener& listener;
  record_ptr<chn_cfg>& spare;  // the channel while it is not added
  chn_cfg* chn;                // the channel, added or not
  unit_slot* unit;             // null before the unit field
  bool is_bit;
  bool is_scaled;
  csv_result code;
};

csv_result fits(bool assigned) noexcept {
  return assigned ? csv_read : csv_field_too_long;
}

csv_result set_name(mapping_point& point, std::string_view field) noexcept {
  return fits(point.chn->name.assign(point_name(field)));
}

csv_result select_unit(mapping_point& point, std::string_view field) noexcept {
  const unit_text text = parse_unit(field);
  if (text.ip_address.size() > decltype(unit_cfg::ip_address)::max_length() ||
      text.address.size() > decltype(unit_cfg::address)::max_length()) {
    return csv_field_too_long;
  }
  point.unit = point.units.find_or_add(text);
  return point.unit != nullptr ? csv_read : csv_no_memory;
}

csv_result set_reference(mapping_point& point, std::string_view field) noexcept {
  return fits(point.chn->reg_num.assign(modbus_reference(field).view()));
}

csv_result set_data_type(mapping_point& point, std::string_view field) noexcept {
  point.is_bit = is_bit_type(field);
  const modbus_type_row* row = find_data_type(field);
  if (row != nullptr) {
    point.chn->reg_size = row->reg_size;
    point.chn->reg_endian = row->reg_endian;
    point.chn->reg_format = row->reg_format;
  }
  return csv_read;
}

csv_result set_description(mapping_point& point, std::string_view field) noexcept {
  constexpr std::size_t longest = decltype(chn_cfg::bac_desc)::max_length();
  if (field == "0") return csv_read;
  if (field.size() > longest) {
    field.remove_suffix(field.size() - longest);
    point.listener.description_cut();
  }
  return fits(point.chn->bac_desc.assign(field));
}

// The key of the channel's place, reference and mask, is final here. The default mask is 0.
csv_result set_mask_and_add(mapping_point& point, std::string_view field) noexcept {
  std::int32_t mask = 0;
  if (point.is_bit) {
    mask = bit_mask(field);
    if (!point.chn->reg_mask.assign(decimal_text(mask).view())) return csv_field_too_long;
  }
  if (point.unit == nullptr) return csv_read;  // its field was refused
  if (point.unit->unit->chn_count == max_list_count) return csv_too_many_channels;
  return point.units.append(*point.unit, std::move(point.spare), mask) ? csv_read : csv_no_memory;
}

csv_result note_scaling(mapping_point& point, std::string_view field) noexcept {
  if (field != "0") point.is_scaled = true;
  return csv_read;
}

csv_result set_group_enable(mapping_point& point, std::string_view field) noexcept {
  return fits(point.chn->reg_group_en.assign(point.is_bit ? std::string_view("1") : field));
}

csv_result apply_field(mapping_point& point, const mapping_column& column,
                       std::string_view field) noexcept {
  switch (column.rule) {
    case column_rule::unused:
      break;
    case column_rule::copied:
      return fits((point.chn->*column.setting).assign(field));
    case column_rule::scale_end:
      return note_scaling(point, field);
    case column_rule::name:
      return set_name(point, field);
    case column_rule::unit:
      return select_unit(point, field);
    case column_rule::reference:
      return set_reference(point, field);
    case column_rule::data_type:
      return set_data_type(point, field);
    case column_rule::description:
      return set_description(point, field);
    case column_rule::bit:
      return set_mask_and_add(point, field);
    case column_rule::group_enable:
      return set_group_enable(point, field);
  }
  return csv_read;
}

// Whether the rest of the line is to be read.
bool goes_on_after(csv_result result, mapping_point& point, std::size_t field) noexcept {
  if (point.code == csv_read || result == csv_no_memory) point.code = result;
  return point.listener.refused(result, field) && result != csv_no_memory;
}

// Scaling is taken or left as a whole; a field that the line lacks empties its setting.
bool store_scaling(mapping_point& point, const mapping_line& line) noexcept {
  for (const mapping_column& end : scale_columns) {
    const csv_result result = fits((point.chn->*end.setting).assign(line.fields[end.field]));
    if (result != csv_read && !goes_on_after(result, point, end.field)) return false;
  }
  return true;
}

bool apply_fields(mapping_point& point, const mapping_line& line) noexcept {
  for (std::size_t field = 0; field < line.count; ++field) {
    const csv_result result = apply_field(point, mapping_columns[field], line.fields[field]);
    if (result != csv_read && !goes_on_after(result, point, field)) return false;
  }
  return !point.is_scaled || store_scaling(point, line);
}

point_result no_point(csv_result code) noexcept {
  return {code, nullptr, nullptr, false, register_class::illegal, false};
}

}  // namespace

chn_cfg csv_defaults() noexcept {
  chn_cfg chn = {};
  init_chn_cfg(&chn, 0, chn_type::input_mcd_hreg, 1);
  return chn;
}

point_reader::point_reader(unit_index& units) noexcept : units_(units), defaults_(csv_defaults()) {}

// The channel type and the write function follow from the reference and the register count.
point_result point_reader::read(const mapping_line& line, point_listener& listener) noexcept {
  if (line.count <= 1) return no_point(csv_read);
  if (spare_ != nullptr) {
    *spare_ = defaults_;
  } else if (spare_ = copy_record(defaults_); spare_ == nullptr) {
    listener.refused(csv_no_memory, field_label);
    return no_point(csv_no_memory);
  }
  chn_cfg& chn = *spare_;
  mapping_point point = {units_, listener, spare_, &chn, nullptr, false, false, csv_read};
  const bool is_whole = apply_fields(point, line);
  if (point.code == csv_no_memory) return no_point(csv_no_memory);  // `chn` may have been released
  const register_class reg_class = classify_reference(chn.reg_num.view());
  if (is_whole && reg_class == register_class::illegal) {
    goes_on_after(csv_illegal_reference, point, field_reference);
  } else if (is_whole) {
    chn.chn_type = chn_types_[channel_type(reg_class, chn.bac_type.view())];
    chn.reg_fcn = reg_fcns_[write_function(reg_class, chn.reg_size.view())];
  }
  unit_cfg* const unit = point.unit != nullptr ? point.unit->unit : nullptr;
  return {point.code, &chn, unit, spare_ == nullptr, reg_class, point.is_bit};
}

}  // namespace ruvex
