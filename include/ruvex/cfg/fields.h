// What stands where in a configuration document: for each record one table of its elements and one
// of its attributes, in document order. The writer follows these tables and the reader looks tags
// up in them, so a setting of a document is named here and nowhere else. Neither looks at the
// values.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ruvex/cfg/records.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/cfg/tags.h"

namespace ruvex {

enum class field_use : std::uint8_t {
  written,    // written and read
  read_only,  // read where a document has it, never written
  tcp_only,   // read; written for units of type "MODBUS_TCP"
};

// Functions that pick one setting out of a record, to be read and to be written:
// view_of<&chn_cfg::name> is a setting_view<chn_cfg>, ref_of<&chn_cfg::name> a
// setting_ref<chn_cfg>.
template <class Record>
using setting_view = text_view (*)(const Record&);
template <class Record>
using setting_ref = text_ref (*)(Record&);

template <auto Member, class Record>
constexpr text_view view_of(const Record& record) noexcept {
  return (record.*Member).look();
}
template <auto Member, class Record>
constexpr text_ref ref_of(Record& record) noexcept {
  return (record.*Member).ref();
}

// One row of a table: a setting's tag, what its text may be, and the member that holds it.
template <class Record>
struct field {
  std::int32_t tag;
  const chk_row* check;  // null: any text that fits
  field_use use;
  setting_view<Record> view;
  setting_ref<Record> ref;
};

// The row of a member. A name that is no tag does not compile.
template <auto Member, class Record>
consteval field<Record> make_field(std::string_view name, const chk_row* check, field_use use) {
  return {tag(name), check, use, view_of<Member, Record>, ref_of<Member, Record>};
}
template <auto Member>
consteval field<yax_cfg> doc_field(std::string_view name, const chk_row* check = nullptr,
                                   field_use use = field_use::written) {
  return make_field<Member, yax_cfg>(name, check, use);
}
template <auto Member>
consteval field<unit_cfg> unit_field(std::string_view name, const chk_row* check = nullptr,
                                     field_use use = field_use::written) {
  return make_field<Member, unit_cfg>(name, check, use);
}
template <auto Member>
consteval field<chn_cfg> chn_field(std::string_view name, const chk_row* check = nullptr,
                                   field_use use = field_use::written) {
  return make_field<Member, chn_cfg>(name, check, use);
}

// Attributes of the root element.
inline constexpr std::array doc_attributes = {
    doc_field<&yax_cfg::name>("name"),
    doc_field<&yax_cfg::instance>("instance", chk_bac_instance),
};

// Elements of the root, before its units.
inline constexpr std::array doc_elements = {
    doc_field<&yax_cfg::cfg_version>("cfg_version", nullptr, field_use::read_only),
    doc_field<&yax_cfg::boot_protocol>("boot_protocol", chk_boot_protocol),
    doc_field<&yax_cfg::ip_addr>("ip_addr", chk_ip_address),
    doc_field<&yax_cfg::netmask>("netmask", chk_ip_address),
    doc_field<&yax_cfg::gateway>("gateway", chk_ip_address),
    doc_field<&yax_cfg::dns1>("dns1", chk_ip_address),
    doc_field<&yax_cfg::dns2>("dns2", chk_ip_address),
    doc_field<&yax_cfg::timezone>("timezone", chk_norange_float),
    doc_field<&yax_cfg::ntp_enable>("ntp_enable", chk_binary),
    doc_field<&yax_cfg::ntp_server>("ntp_server"),
    doc_field<&yax_cfg::ntp_refresh>("ntp_refresh", chk_norange_long),
    doc_field<&yax_cfg::dst_enable>("dst_enable", chk_binary),
    doc_field<&yax_cfg::dst_on_mon>("dst_on_mon", chk_range_pshort),
    doc_field<&yax_cfg::dst_on_dom>("dst_on_dom"),
    doc_field<&yax_cfg::dst_on_hr>("dst_on_hr", chk_range_pshort),
    doc_field<&yax_cfg::dst_off_mon>("dst_off_mon", chk_range_pshort),
    doc_field<&yax_cfg::dst_off_dom>("dst_off_dom"),
    doc_field<&yax_cfg::dst_off_hr>("dst_off_hr", chk_range_pshort),
    doc_field<&yax_cfg::ofl_poll_delay>("ofl_poll_delay", chk_norange_long),
    doc_field<&yax_cfg::yax_poll_delay>("yax_poll_delay", chk_norange_long),
    doc_field<&yax_cfg::mcd_poll_delay>("mcd_poll_delay", chk_norange_long),
    doc_field<&yax_cfg::sys_read_delay>("sys_read_delay", chk_norange_long),
    doc_field<&yax_cfg::sys_read_max>("sys_read_max", chk_norange_long),
    doc_field<&yax_cfg::baudrate>("baudrate", chk_baudrate),
    doc_field<&yax_cfg::protocol>("protocol", chk_protocol),
    doc_field<&yax_cfg::parity>("parity", chk_parity),
    doc_field<&yax_cfg::timeout>("timeout", chk_norange_long),
    doc_field<&yax_cfg::ifgap>("ifgap", chk_norange_long),
    doc_field<&yax_cfg::bac_udp_port>("bac_udp_port", chk_norange_long),
    doc_field<&yax_cfg::bac_bbmd_ip>("bac_bbmd_ip", chk_ip_address),
    doc_field<&yax_cfg::bac_ttl>("bac_ttl", chk_bac_ttl),
    doc_field<&yax_cfg::bac_rpm>("bac_rpm"),
};

// Attributes of a unit_cfg element.
inline constexpr std::array unit_attributes = {
    unit_field<&unit_cfg::name>("name"),
    unit_field<&unit_cfg::type>("type", chk_unit_type),
    unit_field<&unit_cfg::instance>("instance", chk_bac_instance, field_use::read_only),
    unit_field<&unit_cfg::ip_address>("ip_address", chk_ip_address, field_use::tcp_only),
    unit_field<&unit_cfg::address>("address", chk_node_address),
    unit_field<&unit_cfg::poll_delay>("poll_delay", chk_norange_long),
};

// Attributes of a chn_cfg element.
inline constexpr std::array chn_attributes = {
    chn_field<&chn_cfg::name>("name"),
    chn_field<&chn_cfg::instance>("instance", chk_bac_instance),
};

// Elements of a chn_cfg element. A pulse period and a temperature offset stand as users see them,
// as the levels of an input, which are volts, do.
inline constexpr std::array chn_elements = {
    chn_field<&chn_cfg::chn_type>("chn_type", chk_chn_type),
    chn_field<&chn_cfg::bac_type>("bac_type", chk_bac_type),
    chn_field<&chn_cfg::bac_units>("bac_units", chk_bac_units),
    // the older spelling
    chn_field<&chn_cfg::bac_cov_inc>("bac_cov_pct", chk_bac_cov_inc, field_use::read_only),
    chn_field<&chn_cfg::bac_cov_inc>("bac_cov_inc", chk_bac_cov_inc),
    chn_field<&chn_cfg::bac_desc>("bac_desc"),
    chn_field<&chn_cfg::scl_dev_lo>("scl_dev_lo", chk_norange_float),
    chn_field<&chn_cfg::scl_dev_hi>("scl_dev_hi", chk_norange_float),
    chn_field<&chn_cfg::scl_usr_lo>("scl_usr_lo", chk_norange_float),
    chn_field<&chn_cfg::scl_usr_hi>("scl_usr_hi", chk_norange_float),
    chn_field<&chn_cfg::inp_filter>("inp_filter", chk_inp_filter),
    chn_field<&chn_cfg::inp_level_lo>("inp_level_lo", chk_norange_float),
    chn_field<&chn_cfg::inp_level_hi>("inp_level_hi", chk_norange_float),
    chn_field<&chn_cfg::pulse_period>("pulse_period", chk_pulse_period_usr),
    chn_field<&chn_cfg::temp_offset>("temp_offset", chk_temp_offset_usr),
    chn_field<&chn_cfg::temp_units>("temp_units", chk_temp_units),
    chn_field<&chn_cfg::reg_group_en>("reg_group_en", chk_binary),
    chn_field<&chn_cfg::reg_mask>("reg_mask", chk_norange_long),
    chn_field<&chn_cfg::reg_restart>("reg_restart", chk_norange_long),
    chn_field<&chn_cfg::reg_num>("reg_num", chk_norange_long),
    chn_field<&chn_cfg::reg_size>("reg_size", chk_reg_num),
    chn_field<&chn_cfg::reg_endian>("reg_endian", chk_endian_mode),
    chn_field<&chn_cfg::reg_format>("reg_format", chk_reg_format),
    chn_field<&chn_cfg::reg_fcn>("reg_fcn", chk_reg_fcn),
    chn_field<&chn_cfg::initial_val>("initial_val"),
    chn_field<&chn_cfg::alarm_lo>("alarm_lo"),
    chn_field<&chn_cfg::alarm_hi>("alarm_hi"),
    chn_field<&chn_cfg::hoa_switch>("hoa_switch", chk_hoa_switch),
    chn_field<&chn_cfg::override_val>("override_val", chk_norange_float),
    chn_field<&chn_cfg::limit_lo>("limit_lo", chk_norange_float),
    chn_field<&chn_cfg::limit_hi>("limit_hi", chk_norange_float),
    chn_field<&chn_cfg::persistent>("persistent", chk_binary),
};

// The rows of a table with one of these uses, in the same order.
template <const auto& Rows, field_use... Uses>
consteval auto rows_used() {
  constexpr auto is_used = [](const auto& row) { return ((row.use == Uses) || ...); };
  constexpr auto count = static_cast<std::size_t>(std::count_if(Rows.begin(), Rows.end(), is_used));
  std::array<typename std::decay_t<decltype(Rows)>::value_type, count> rows = {};
  std::copy_if(Rows.begin(), Rows.end(), rows.begin(), is_used);
  return rows;
}

inline constexpr auto written_doc_elements = rows_used<doc_elements, field_use::written>();
inline constexpr auto written_chn_elements = rows_used<chn_elements, field_use::written>();

static_assert(written_doc_elements.size() == 31 && written_chn_elements.size() == 31);

// Every tag except the three structural ones names a setting of some record.
static_assert([] {
  std::array<bool, tag_count> named = {};
  const auto mark = [&named](const auto& rows) {
    for (const auto& row : rows) named[static_cast<std::size_t>(row.tag)] = true;
  };
  for (const auto structural : {tag("yax_cfg"), tag("unit_cfg"), tag("chn_cfg")}) {
    named[static_cast<std::size_t>(structural)] = true;
  }
  mark(doc_attributes), mark(doc_elements), mark(unit_attributes);
  mark(chn_attributes), mark(chn_elements);
  return std::count(named.begin(), named.end(), true) == static_cast<std::ptrdiff_t>(tag_count);
}());

}  // namespace ruvex
