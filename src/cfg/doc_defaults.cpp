#include "ruvex/cfg/doc_defaults.h"

#include <algorithm>
#include <limits>

#include "link.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/defaults.h"
#include "ruvex/cfg/fields.h"
#include "ruvex/cfg/tables.h"
#include "set_default.h"

namespace ruvex {

const char* const chn_name[6] = {
    "Reset status",         "External reset total", "Brownout reset total",
    "Watchdog reset total", "JTAG reset total",     "Unknown reset total",
};

namespace {

constexpr std::int32_t baudrate_19200 = 3;
constexpr std::int32_t protocol_rtu = 1;
constexpr std::int32_t parity_even = 1;

struct doc_default {
  setting_ref<yax_cfg> at;
  const char* text;
};

constexpr doc_default doc_defaults[] = {
    {ref_of<&yax_cfg::name>, "Default Configuration Name"},
    {ref_of<&yax_cfg::instance>, "2749"},
    {ref_of<&yax_cfg::cfg_version>, "3.0"},
    {ref_of<&yax_cfg::boot_protocol>, "NONE"},
    {ref_of<&yax_cfg::ip_addr>, "192.168.92.68"},
    {ref_of<&yax_cfg::netmask>, "255.255.255.0"},
    {ref_of<&yax_cfg::gateway>, "192.168.92.1"},
    {ref_of<&yax_cfg::dns1>, "0.0.0.0"},
    {ref_of<&yax_cfg::dns2>, "0.0.0.0"},
    {ref_of<&yax_cfg::timezone>, "-6"},
    {ref_of<&yax_cfg::ntp_enable>, "0"},
    {ref_of<&yax_cfg::ntp_server>, "pool.ntp.org"},
    {ref_of<&yax_cfg::ntp_refresh>, "1"},
    {ref_of<&yax_cfg::dst_enable>, "0"},
    {ref_of<&yax_cfg::dst_on_mon>, "2"},
    {ref_of<&yax_cfg::dst_on_dom>, "SUN2"},
    {ref_of<&yax_cfg::dst_on_hr>, "2"},
    {ref_of<&yax_cfg::dst_off_mon>, "10"},
    {ref_of<&yax_cfg::dst_off_dom>, "SUN1"},
    {ref_of<&yax_cfg::dst_off_hr>, "2"},
    {ref_of<&yax_cfg::ofl_poll_delay>, "15000"},
    {ref_of<&yax_cfg::yax_poll_delay>, "500"},
    {ref_of<&yax_cfg::mcd_poll_delay>, "2000"},
    {ref_of<&yax_cfg::sys_read_delay>, "10"},
    {ref_of<&yax_cfg::sys_read_max>, "24"},
    {ref_of<&yax_cfg::timeout>, "1000"},
    {ref_of<&yax_cfg::ifgap>, "0"},
    {ref_of<&yax_cfg::bac_udp_port>, "47808"},
    {ref_of<&yax_cfg::bac_bbmd_ip>, "0.0.0.0"},
    {ref_of<&yax_cfg::bac_ttl>, "100"},
};

struct unit_default {
  std::int32_t type;
  const char* name;
};

constexpr unit_default unit_defaults[] = {
    {unit_type::modbus, "Default Modbus Unit"},
    {unit_type::yax_type1, "Default YAX Unit"},
    {unit_type::virtual_, "Default Virtual Unit"},
};

// Of a type-1 unit, in order; each channel's index is its place.
constexpr std::int32_t standard_channels[] = {
    chn_type::input_10a, chn_type::input_10a, chn_type::input_10a,  chn_type::input_10a,
    chn_type::input_10a, chn_type::input_10a, chn_type::output_rly, chn_type::output_rly,
};

const unit_default* find_unit_default(std::int32_t type) noexcept {
  for (const unit_default& row : unit_defaults) {
    if (row.type == type) return &row;
  }
  return nullptr;
}

// What comes next in a document: one above the largest in it.
struct next_numbers {
  std::int64_t address = 0;
  std::int64_t instance = 0;
};

next_numbers count_on(const yax_cfg& doc) noexcept {
  next_numbers largest;
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    largest.address = std::max(largest.address, decimal_prefix(unit->address.view()));
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      largest.instance = std::max(largest.instance, decimal_prefix(chn->instance.view()));
    }
  }
  // decimal_prefix gives at most the largest number of 64 bits, which has no successor.
  constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max() - 1;
  return {std::min(largest.address, last) + 1, std::min(largest.instance, last) + 1};
}

// False when memory has run out, and before the first channel when an instance would not fit its 32
// bits.
bool add_standard_channels(unit_cfg& unit, std::int64_t first_instance) noexcept {
  constexpr auto count = static_cast<std::int32_t>(std::size(standard_channels));
  if (first_instance > std::numeric_limits<std::int32_t>::max() - (count - 1)) return false;
  for (std::int32_t index = 0; index < count; ++index) {
    const auto instance = static_cast<std::int32_t>(first_instance) + index;
    if (add_chn_cfg(&unit, std::max(index - 1, 0), index, standard_channels[index], instance) ==
        nullptr) {
      return false;
    }
  }
  return true;
}

// A virtual unit with one channel, linked after position `pos`; null when memory has run out.
unit_cfg* add_virtual_unit(yax_cfg& doc, std::int32_t pos, const char* name, const char* address,
                           std::int32_t channel_type, std::int32_t instance) noexcept {
  unit_cfg* unit = add_unit_cfg(&doc, pos, unit_type::virtual_);
  if (unit == nullptr || add_chn_cfg(unit, 0, 0, channel_type, instance) == nullptr) return nullptr;
  set_default(unit->name, name);
  set_default(unit->address, address);
  return unit;
}

bool add_user_points(yax_cfg& doc) noexcept {
  const unit_cfg* unit =
      add_virtual_unit(doc, 0, "User Virtual Points", "8", chn_type::input_mcd_hreg, 840001);
  if (unit == nullptr) return false;
  chn_cfg& chn = *unit->chn_list;
  set_default(chn.name, "Default Virtual Point");
  set_default(chn.reg_num, "40001");
  set_default(chn.reg_size, "2");
  set_default(chn.reg_fcn, chk_reg_fcn, reg_fcn::write_registers);
  return true;
}

bool add_system_points(yax_cfg& doc) noexcept {
  const unit_cfg* unit =
      add_virtual_unit(doc, 1, "System Virtual Points", "9", chn_type::input_mcd_bin, 910001);
  if (unit == nullptr) return false;
  chn_cfg& chn = *unit->chn_list;
  set_default(chn.name, "Time Set");
  set_default(chn.bac_desc, "Time Set");
  set_default(chn.reg_num, "10001");
  return true;
}

}  // namespace

void init_yax_cfg(yax_cfg* doc) noexcept {
  for (const doc_default& row : doc_defaults) static_cast<void>(row.at(*doc).assign(row.text));
  set_default(doc->baudrate, chk_baudrate, baudrate_19200);
  set_default(doc->protocol, chk_protocol, protocol_rtu);
  set_default(doc->parity, chk_parity, parity_even);
}

unit_cfg* add_unit_cfg(yax_cfg* doc, std::int32_t pos, std::int32_t type) noexcept {
  constexpr std::int64_t largest_address = 247;
  const unit_default* row = find_unit_default(type);
  const next_numbers next = count_on(*doc);
  if (row == nullptr || next.address > largest_address) return nullptr;
  unit_cfg_ptr unit(make_record<unit_cfg>().release());
  if (unit == nullptr) return nullptr;
  set_default(unit->address, decimal_text(next.address).view());
  set_default(unit->poll_delay, "0");
  set_default(unit->name, row->name);
  set_default(unit->type, chk_unit_type, type);
  if (type == unit_type::yax_type1 && !add_standard_channels(*unit, next.instance)) return nullptr;
  return link_after(std::move(unit), doc->unit_list, doc->unit_count, pos);
}

yax_cfg* make_default_yax_cfg() noexcept {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) return nullptr;
  init_yax_cfg(doc.get());
  if (add_unit_cfg(doc.get(), 0, unit_type::yax_type1) == nullptr || !add_user_points(*doc) ||
      !add_system_points(*doc)) {
    return nullptr;
  }
  return doc.release();
}

}  // namespace ruvex
