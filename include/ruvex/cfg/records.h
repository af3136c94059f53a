// The configuration records: a document, its units, their channels.
//
// Every setting is held as text, exactly as the document spells it, and bears the name of its XML
// tag. Units and channels form doubly linked lists: the owner holds the head and the count, the
// head's `prev` and the last record's `next` are null, and the count equals the number of records
// reachable from the head. A document owns its units and a unit owns its channels. Records are heap
// blocks allocated zero-filled: what no operation has set is empty, 0 or null.
//
// Records have no lock: one thread at a time uses a document and its lists. Separate documents may
// be used by separate threads.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <type_traits>

#include "ruvex/cfg/text.h"

namespace ruvex {

// A list's count is a signed 16-bit number.
inline constexpr std::int16_t max_list_count = 32767;

// One point.
struct chn_cfg {
  chn_cfg* prev;
  chn_cfg* next;
  text<64> name;
  text<32> instance;     // BACnet object instance, decimal; chk_bac_instance
  text<32> chn_type;     // chk_chn_type
  text<32> bac_type;     // chk_bac_type
  text<32> bac_units;    // chk_bac_units
  text<32> bac_cov_inc;  // change-of-value increment; chk_bac_cov_inc
  text<64> bac_desc;     // description
  text<32> scl_dev_lo;   // scaling: the device's ends ...
  text<32> scl_dev_hi;
  text<32> scl_usr_lo;  // ... and the user's
  text<32> scl_usr_hi;
  text<32> inp_filter;  // chk_inp_filter
  text<32> inp_level_lo;
  text<32> inp_level_hi;
  text<32> pulse_period;
  text<32> temp_offset;
  text<32> temp_units;    // chk_temp_units
  text<32> reg_group_en;  // "0" or "1"
  text<32> reg_mask;
  text<32> reg_restart;
  text<32> reg_num;     // Modbus register reference, for example "40001"
  text<32> reg_size;    // 16-bit registers of the value, "1" or "2"
  text<32> reg_endian;  // word order; chk_endian_mode
  text<32> reg_format;  // chk_reg_format
  text<32> reg_fcn;     // Modbus function code; chk_reg_fcn
  text<32> initial_val;
  text<32> alarm_lo;
  text<32> alarm_hi;
  text<32> hoa_switch;  // hand, off, auto; chk_hoa_switch
  text<32> override_val;
  text<32> limit_lo;
  text<32> limit_hi;
  text<32> persistent;  // "0" or "1"
};

// One field-bus device, or a virtual device.
struct unit_cfg {
  unit_cfg* prev;
  unit_cfg* next;
  text<64> name;
  text<32> type;        // chk_unit_type
  text<32> instance;    // read from documents, never written
  text<32> ip_address;  // of "MODBUS_TCP" units
  text<32> address;     // node address on the bus, decimal; chk_node_address
  text<32> poll_delay;
  std::int16_t chn_count;
  chn_cfg* chn_list;
};

// A whole controller configuration: the system settings and the units.
struct yax_cfg {
  text<64> name;
  text<32> instance;       // device instance; chk_bac_instance
  text<32> cfg_version;    // read from documents, never written
  text<32> boot_protocol;  // chk_boot_protocol
  text<32> ip_addr;        // dotted decimal; chk_ip_address
  text<32> netmask;
  text<32> gateway;
  text<32> dns1;
  text<32> dns2;
  text<32> timezone;    // offset, a signed decimal number
  text<32> ntp_enable;  // "0" or "1"
  text<32> ntp_server;  // host name
  text<32> ntp_refresh;
  text<32> dst_enable;   // "0" or "1": daylight-saving time
  text<32> dst_on_mon;   // its start: month,
  text<32> dst_on_dom;   // day rule such as "SUN2",
  text<32> dst_on_hr;    // hour
  text<32> dst_off_mon;  // its end
  text<32> dst_off_dom;
  text<32> dst_off_hr;
  text<32> ofl_poll_delay;
  text<32> yax_poll_delay;
  text<32> mcd_poll_delay;
  text<32> sys_read_delay;
  text<32> sys_read_max;
  text<32> baudrate;      // chk_baudrate
  text<32> protocol;      // chk_protocol
  text<32> parity;        // chk_parity
  text<32> timeout;       // of a response
  text<32> ifgap;         // inter-frame gap
  text<32> bac_udp_port;  // BACnet/IP
  text<32> bac_bbmd_ip;   // BACnet broadcast management device
  text<32> bac_ttl;       // BACnet registration; chk_bac_ttl
  text<32> bac_rpm;
  std::int16_t unit_count;
  unit_cfg* unit_list;
};

struct record_delete {
  void operator()(void* record) const noexcept { std::free(record); }
};

// Owns one record, not the records in its lists.
template <class Record>
using record_ptr = std::unique_ptr<Record, record_delete>;

// A zero-filled record of its own heap block, linked nowhere; null when memory has run out.
template <class Record>
record_ptr<Record> make_record() noexcept {
  static_assert(std::is_trivially_copyable_v<Record>);
  return record_ptr<Record>(static_cast<Record*>(std::calloc(1, sizeof(Record))));
}

// A copy of `record`, links included, in its own heap block; null when memory has run out.
template <class Record>
record_ptr<Record> copy_record(const Record& record) noexcept {
  static_assert(std::is_trivially_copyable_v<Record>);
  record_ptr<Record> copy(static_cast<Record*>(std::malloc(sizeof(Record))));
  if (copy != nullptr) *copy = record;
  return copy;
}

// The unit at position `index` (from 0) of the document's list. Null when `index` is not below
// `unit_count`; the head when it is 0 or negative. The document keeps the unit.
unit_cfg* get_unit_ptr(const yax_cfg* doc, std::int32_t index) noexcept;

// The channel at position `index` (from 0) of the unit's list. Null when `index` is not below
// `chn_count`; the head when it is 0 or negative. The unit keeps the channel.
chn_cfg* get_chn_ptr(const unit_cfg* unit, std::int32_t index) noexcept;

}  // namespace ruvex
