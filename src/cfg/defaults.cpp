#include "ruvex/cfg/defaults.h"

#include "link.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/tables.h"
#include "set_default.h"

namespace ruvex {
namespace {

struct type_defaults {
  std::int32_t chn_type;
  std::int32_t bac_type;
  std::int32_t bac_units;
  const char* scl_hi;  // of the device and of the user
  const char* inp_level_lo;
  const char* inp_level_hi;
  std::int32_t reg_first;  // reference of index 0
  std::int32_t reg_step;   // from one index to the next
  const char* reg_size;
  std::int32_t reg_endian;
  std::int32_t reg_fcn;
  const char* limit_hi;
};

constexpr std::int32_t little = 0;
constexpr std::int32_t big = 1;
constexpr std::int32_t unsigned_format = 0;
constexpr std::int32_t fahrenheit = 1;
constexpr std::int32_t hoa_auto = 0;

// clang-format off
constexpr type_defaults defaults_by_type[] = {
    // chn_type                 bac_type                 bac_units             scl  level         reg_num    size  endian  reg_fcn                   limit
    {chn_type::input_10a,       bac_type::analog_input,  bac_units::volts,    "10", "2.5", "7.5", 40101, 2,  "2",  little, reg_fcn::write_registers, "10"},
    {chn_type::output_rly,      bac_type::binary_output, bac_units::no_units, "1",  "0",   "1",   40101, 2,  "2",  little, reg_fcn::write_registers, "1"},
    {chn_type::input_mcd_bin,   bac_type::binary_input,  bac_units::no_units, "1",  "0",   "1",   10001, 1,  "1",  big,    reg_fcn::write_register,  "1"},
    {chn_type::input_mcd_ireg,  bac_type::analog_input,  bac_units::no_units, "1",  "0",   "1",   30001, 1,  "1",  big,    reg_fcn::write_register,  "65535"},
    {chn_type::input_mcd_hreg,  bac_type::analog_input,  bac_units::no_units, "1",  "0",   "1",   40001, 1,  "1",  big,    reg_fcn::write_register,  "65535"},
    {chn_type::output_mcd_bin,  bac_type::binary_output, bac_units::no_units, "1",  "0",   "1",   1,     1,  "1",  big,    reg_fcn::write_coil,      "1"},
    {chn_type::output_mcd_hreg, bac_type::analog_output, bac_units::no_units, "1",  "0",   "1",   40001, 1,  "1",  big,    reg_fcn::write_register,  "65535"},
};
// clang-format on

struct common_default {
  setting_ref<chn_cfg> at;
  const char* text;
};

constexpr common_default common_defaults[] = {
    {ref_of<&chn_cfg::bac_cov_inc>, "0"},
    {ref_of<&chn_cfg::bac_desc>, "Default channel description"},
    {ref_of<&chn_cfg::scl_dev_lo>, "0"},
    {ref_of<&chn_cfg::scl_usr_lo>, "0"},
    {ref_of<&chn_cfg::inp_filter>, "0"},
    {ref_of<&chn_cfg::pulse_period>, "1"},
    {ref_of<&chn_cfg::temp_offset>, "0"},
    {ref_of<&chn_cfg::reg_group_en>, "0"},
    {ref_of<&chn_cfg::reg_mask>, "0"},
    {ref_of<&chn_cfg::reg_restart>, "0"},
    {ref_of<&chn_cfg::initial_val>, "OFF"},
    {ref_of<&chn_cfg::alarm_lo>, "OFF"},
    {ref_of<&chn_cfg::alarm_hi>, "OFF"},
    {ref_of<&chn_cfg::override_val>, "0"},
    {ref_of<&chn_cfg::limit_lo>, "0"},
    {ref_of<&chn_cfg::persistent>, "0"},
};

const type_defaults* find_defaults(std::int32_t chn_type) noexcept {
  for (const type_defaults& row : defaults_by_type) {
    if (row.chn_type == chn_type) return &row;
  }
  return nullptr;
}

// The reference is counted in 64 bits: an index may be any 32-bit number.
void set_by_type(chn_cfg& chn, const type_defaults& row, std::int32_t index) noexcept {
  const std::int64_t reference = row.reg_first + std::int64_t{row.reg_step} * index;
  set_default(chn.chn_type, chk_chn_type, row.chn_type);
  set_default(chn.bac_type, chk_bac_type, row.bac_type);
  set_default(chn.bac_units, chk_bac_units, row.bac_units);
  set_default(chn.scl_dev_hi, row.scl_hi);
  set_default(chn.scl_usr_hi, row.scl_hi);
  set_default(chn.inp_level_lo, row.inp_level_lo);
  set_default(chn.inp_level_hi, row.inp_level_hi);
  set_default(chn.reg_num, decimal_text(reference).view());
  set_default(chn.reg_size, row.reg_size);
  set_default(chn.reg_endian, chk_endian_mode, row.reg_endian);
  set_default(chn.reg_format, chk_reg_format, unsigned_format);
  set_default(chn.reg_fcn, chk_reg_fcn, row.reg_fcn);
  set_default(chn.limit_hi, row.limit_hi);
}

void set_common(chn_cfg& chn) noexcept {
  for (const common_default& row : common_defaults) {
    static_cast<void>(row.at(chn).assign(row.text));
  }
  set_default(chn.temp_units, chk_temp_units, fahrenheit);
  set_default(chn.hoa_switch, chk_hoa_switch, hoa_auto);
}

}  // namespace

void init_chn_cfg(chn_cfg* chn, std::int32_t index, std::int32_t chn_type,
                  std::int32_t instance) noexcept {
  set_default(chn->name, "Default Channel Name");
  set_default(chn->instance, decimal_text(instance).view());
  if (const type_defaults* row = find_defaults(chn_type)) {
    set_by_type(*chn, *row, index);
    set_common(*chn);
  }
}

chn_cfg* add_chn_cfg(unit_cfg* unit, std::int32_t pos, std::int32_t index, std::int32_t chn_type,
                     std::int32_t instance) noexcept {
  record_ptr<chn_cfg> chn = make_record<chn_cfg>();
  if (chn == nullptr) return nullptr;
  init_chn_cfg(chn.get(), index, chn_type, instance);
  return link_after(std::move(chn), unit->chn_list, unit->chn_count, pos);
}

}  // namespace ruvex
