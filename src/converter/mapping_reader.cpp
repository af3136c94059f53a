#include "converter/mapping_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cinttypes>
#include <cstring>
#include <utility>

#include "cfg/decimal.h"
#include "cfg/defaults.h"
#include "cfg/tables.h"
#include "converter/line_reader.h"
#include "converter/mapping_rules.h"
#include "converter/signals.h"
#include "converter/unit_index.h"
#include "util/log.h"

namespace ruvex {

unit_cfg* modUnits = nullptr;

namespace {

chn_cfg csv_defaults() noexcept {
  chn_cfg chn = {};
  init_chn_cfg(&chn, 0, chn_type::input_mcd_hreg, 1);
  return chn;
}

// What the fields of one line have in common.
struct mapping_point {
  unit_index& units;
  std::int64_t line_number;
  record_ptr<chn_cfg>& spare;  // the channel while it is not linked
  chn_cfg* chn;                // the channel, linked or not
  unit_slot* unit;             // null before the unit field
  bool is_bit;
  bool is_scaled;
};

csv_result fits(bool assigned) noexcept {
  return assigned ? csv_read : csv_field_too_long;
}

csv_result ignore(mapping_point&, std::string_view) noexcept {
  return csv_read;
}

template <auto Member>
csv_result copy(mapping_point& point, std::string_view field) noexcept {
  return fits((point.chn->*Member).assign(field));
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
    SysLogP(LOG_PRIORITY_NOTICE, "Line %" PRId64 ": description cut to 63 characters\n",
            point.line_number);
  }
  return fits(point.chn->bac_desc.assign(field));
}

// The key of the channel's place, reference and mask, is final here. The default mask is 0.
csv_result set_mask_and_link(mapping_point& point, std::string_view field) noexcept {
  std::int32_t mask = 0;
  if (point.is_bit) {
    mask = bit_mask(field);
    if (!point.chn->reg_mask.assign(decimal_text(mask).view())) return csv_field_too_long;
  }
  if (point.unit->unit->chn_count == max_list_count) return csv_too_many_channels;
  return point.units.append(*point.unit, std::move(point.spare), mask) ? csv_read : csv_no_memory;
}

csv_result note_scaling(mapping_point& point, std::string_view field) noexcept {
  if (field != "0") point.is_scaled = true;
  return csv_read;
}

csv_result set_group_en(mapping_point& point, std::string_view field) noexcept {
  return fits(point.chn->reg_group_en.assign(point.is_bit ? std::string_view("1") : field));
}

using field_rule = csv_result (*)(mapping_point&, std::string_view) noexcept;

constexpr field_rule field_rules[] = {
    ignore,                       // field_label
    copy<&chn_cfg::bac_cov_inc>,  // field_cov_inc
    set_name,                     // field_name
    select_unit,                  // field_unit
    set_reference,                // field_reference
    set_data_type,                // field_data_type
    copy<&chn_cfg::bac_type>,     // field_bac_type
    copy<&chn_cfg::instance>,     // field_instance
    copy<&chn_cfg::bac_units>,    // field_bac_units
    set_description,              // field_description
    set_mask_and_link,            // field_bit
    note_scaling,                 // field_scl_dev_lo
    note_scaling,                 // field_scl_dev_hi
    note_scaling,                 // field_scl_usr_lo
    note_scaling,                 // field_scl_usr_hi
    set_group_en,                 // field_group_en
    copy<&chn_cfg::reg_restart>,  // field_restart
};
static_assert(std::size(field_rules) == max_mapping_fields);

constexpr struct {
  mapping_field field;
  field_rule store;
} scaling[] = {
    {field_scl_dev_lo, copy<&chn_cfg::scl_dev_lo>},
    {field_scl_dev_hi, copy<&chn_cfg::scl_dev_hi>},
    {field_scl_usr_lo, copy<&chn_cfg::scl_usr_lo>},
    {field_scl_usr_hi, copy<&chn_cfg::scl_usr_hi>},
};

csv_result field_failure(csv_result result, std::int64_t line_number, std::size_t field) noexcept {
  if (result == csv_field_too_long) {
    SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 ": field %zu is longer than 31 characters, exiting.",
            line_number, field);
  } else if (result == csv_too_many_channels) {
    SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 ": more than 32767 channels in one unit, exiting.",
            line_number);
  } else if (result == csv_no_memory) {
    SysLogP(LOG_PRIORITY_ERR, "%s", "Out of memory, exiting.");
  }
  return result;
}

// Scaling is taken or left as a whole; a field that the line lacks empties its setting.
csv_result store_scaling(mapping_point& point, const mapping_line& line) noexcept {
  for (const auto& row : scaling) {
    const csv_result result = row.store(point, line.fields[row.field]);
    if (result != csv_read) return field_failure(result, point.line_number, row.field);
  }
  return csv_read;
}

csv_result apply_fields(mapping_point& point, const mapping_line& line) noexcept {
  for (std::size_t field = field_cov_inc; field < line.count; ++field) {
    const csv_result result = field_rules[field](point, line.fields[field]);
    if (result != csv_read) return field_failure(result, point.line_number, field);
  }
  return point.is_scaled ? store_scaling(point, line) : csv_read;
}

class mapping_reader {
 public:
  explicit mapping_reader(unit_index& units) noexcept : units_(units) {}

  csv_result read_line(std::string_view text, std::int64_t line_number) noexcept {
    const mapping_line line = split_mapping_line(text);
    if (line.count <= 1) return csv_read;
    if (spare_ != nullptr) {
      *spare_ = defaults_;
    } else if (spare_ = copy_record(defaults_); spare_ == nullptr) {
      return field_failure(csv_no_memory, line_number, 0);
    }
    mapping_point point = {units_, line_number, spare_, spare_.get(), nullptr, false, false};
    const csv_result result = apply_fields(point, line);
    return result == csv_read ? derive_type(*point.chn) : result;
  }

 private:
  // The channel type and the write function follow from the reference and the register count.
  csv_result derive_type(chn_cfg& chn) const noexcept {
    const register_class reg_class = classify_reference(chn.reg_num.view());
    if (reg_class == register_class::illegal) {
      SysLogP(LOG_PRIORITY_ERR, "%s", "Illegal Modbus reference, exiting.");
      return csv_illegal_reference;
    }
    chn.chn_type = chn_types_[channel_type(reg_class, chn.bac_type.view())];
    chn.reg_fcn = reg_fcns_[write_function(reg_class, chn.reg_size.view())];
    return csv_read;
  }

  unit_index& units_;
  const chn_cfg defaults_ = csv_defaults();
  const enum_texts<chn_type::output_mcd_hreg + 1> chn_types_{chk_chn_type};
  const enum_texts<reg_fcn::write_registers + 1> reg_fcns_{chk_reg_fcn};
  record_ptr<chn_cfg> spare_;  // kept from a line that linked nothing
};

csv_result read_lines(int descriptor, unit_index& units) noexcept {
  mapping_reader reader(units);
  line_reader lines(descriptor, max_mapping_line);
  for (std::int64_t line_number = 1;; ++line_number) {
    log_signals();
    std::string_view line;
    const line_reader::result got = lines.next(line);
    if (got == line_reader::result::end) return csv_read;
    if (got == line_reader::result::too_long) {
      SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 " is longer than 1023 characters, exiting.",
              line_number);
      return csv_bad_line;
    }
    if (std::memchr(line.data(), '\0', line.size()) != nullptr) {
      SysLogP(LOG_PRIORITY_ERR, "Line %" PRId64 " holds a NUL byte, exiting.", line_number);
      return csv_bad_line;
    }
    if (const csv_result result = reader.read_line(line, line_number)) return result;
  }
}

csv_result not_readable(csv_result result) noexcept {
  SysLogP(LOG_PRIORITY_ERR, "%s", "Unable to open csv file, exiting.");
  return result;
}

}  // namespace

void free_units() noexcept {
  while (modUnits != nullptr) {
    const record_ptr<unit_cfg> unit(std::exchange(modUnits, modUnits->next));
    chn_cfg* chn = unit->chn_list;
    while (chn != nullptr) {
      const record_ptr<chn_cfg> released(std::exchange(chn, chn->next));
    }
  }
}

int read_csv_file(const char* path) noexcept {
  free_units();
  struct stat status;
  if (::stat(path, &status) != 0) return not_readable(csv_not_examined);
  if (S_ISDIR(status.st_mode)) return not_readable(csv_not_opened);
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return not_readable(csv_not_opened);
  unit_index units(modUnits);
  const csv_result result = read_lines(descriptor, units);
  units.link_channels();
  ::close(descriptor);
  return result;
}

}  // namespace ruvex
