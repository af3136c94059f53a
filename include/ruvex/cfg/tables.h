// The check tables: the allowed texts of every enumerated setting and the bounds of the others.
//
// A table is an array of rows. Row 0 is the header: its value is the table's kind. Data rows
// follow; a row with the value -1 ends the table.
//
//   kind              data rows
//   chk_kind_enum     one per allowed value: (value, text); a record holds the text
//   chk_kind_float    (kind, lower bound) and (kind, upper bound) of a floating-point number
//   chk_kind_short    the same of a 16-bit integer
//   chk_kind_long     the same of a 32-bit integer
//   chk_kind_length   one: (largest size in characters, the NUL included; null)
//   chk_kind_ip       one: (kind, null); an IPv4 address in dotted decimal
//
// The tables are constant and may be read from any thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "ruvex/cfg/text.h"

namespace ruvex {

struct chk_row {
  std::int32_t value;
  const char* text;  // null where the row has none
};

enum chk_kind : std::int32_t {
  chk_kind_enum = 0,
  chk_kind_float = 1,
  chk_kind_short = 2,
  chk_kind_long = 3,
  chk_kind_length = 4,
  chk_kind_ip = 5,
};

// Bounds, by what they apply to.
extern const chk_row chk_binary[];            // on/off flags
extern const chk_row chk_norange_short[];     // a 16-bit number without bounds
extern const chk_row chk_norange_long[];      // a 32-bit number without bounds
extern const chk_row chk_norange_float[];     // a floating-point number without bounds
extern const chk_row chk_bac_ttl[];           // bac_ttl
extern const chk_row chk_pulse_period_dev[];  // pulse_period, device side
extern const chk_row chk_pulse_period_usr[];  // pulse_period, user side
extern const chk_row chk_temp_offset_dev[];   // temp_offset, device side
extern const chk_row chk_temp_offset_usr[];   // temp_offset, user side
extern const chk_row chk_range_pshort[];      // a non-negative 16-bit number
extern const chk_row chk_range_volts[];       // 0 to 10 V, in volts
extern const chk_row chk_range_mv[];          // the same in millivolts
extern const chk_row chk_range_ma[];          // 0 to 20 mA, in milliamperes
extern const chk_row chk_range_ma_100[];      // the same in hundredths of a milliampere
extern const chk_row chk_name_len[];          // names and the channel description
extern const chk_row chk_param_len[];         // every other setting
extern const chk_row chk_ip_address[];        // addresses
extern const chk_row chk_node_address[];      // a unit's address
extern const chk_row chk_inp_filter[];        // inp_filter
extern const chk_row chk_reg_num[];           // reg_size, a register count
extern const chk_row chk_bac_instance[];      // instance
extern const chk_row chk_bac_cov_inc[];       // bac_cov_inc

// Enumerations, by the setting that holds their texts.
extern const chk_row chk_sys_type[];  // system type of the controller; no record holds it
extern const chk_row chk_unit_type[];
extern const chk_row chk_boot_protocol[];
extern const chk_row chk_hoa_switch[];
extern const chk_row chk_baudrate[];
extern const chk_row chk_protocol[];
extern const chk_row chk_parity[];
extern const chk_row chk_temp_units[];
extern const chk_row chk_endian_mode[];
extern const chk_row chk_reg_format[];
extern const chk_row chk_reg_fcn[];   // Modbus function codes; each text is its own number
extern const chk_row chk_progmode[];  // programming mode; no record holds it
extern const chk_row chk_fcn[];       // editing commands; no record holds them
extern const chk_row chk_chn_type[];
extern const chk_row chk_bac_type[];   // BACnet object types, numbered as ASHRAE 135 does
extern const chk_row chk_bac_units[];  // BACnet engineering units 0 to 104 (ASHRAE 135)

// The values that the code itself names.
namespace unit_type {
inline constexpr std::int32_t modbus = 0;      // a Modbus slave on the serial line
inline constexpr std::int32_t yax_type1 = 1;   // the family's own type-1 I/O unit
inline constexpr std::int32_t virtual_ = 2;    // a unit of virtual points
inline constexpr std::int32_t modbus_tcp = 3;  // a Modbus/TCP device
}  // namespace unit_type

namespace chn_type {
inline constexpr std::int32_t input_10a = 3;
inline constexpr std::int32_t input_mcd_bin = 10;
inline constexpr std::int32_t input_mcd_ireg = 11;
inline constexpr std::int32_t input_mcd_hreg = 12;
inline constexpr std::int32_t output_rly = 19;
inline constexpr std::int32_t output_mcd_bin = 20;
inline constexpr std::int32_t output_mcd_hreg = 21;
}  // namespace chn_type

namespace bac_type {
inline constexpr std::int32_t analog_input = 0;
inline constexpr std::int32_t analog_output = 1;
inline constexpr std::int32_t binary_input = 3;
inline constexpr std::int32_t binary_output = 4;
}  // namespace bac_type

namespace bac_units {
inline constexpr std::int32_t volts = 5;
inline constexpr std::int32_t no_units = 95;
}  // namespace bac_units

namespace reg_fcn {
inline constexpr std::int32_t write_coil = 5;
inline constexpr std::int32_t write_register = 6;
inline constexpr std::int32_t write_registers = 16;
}  // namespace reg_fcn

// The text of `value`: that of the first data row with this value. Null when the table has no such
// row. The text is the table's own and constant. For enumeration tables.
const char* enum_to_str(const chk_row* table, std::int32_t value) noexcept;

// The texts of the values 0 to Count - 1 of an enumeration table, looked up once. The text of a
// value that the table does not have is empty.
template <std::size_t Count>
class enum_texts {
 public:
  explicit enum_texts(const chk_row* table) noexcept {
    for (const chk_row* row = table + 1; row->value != -1; ++row) {
      const auto value = static_cast<std::size_t>(row->value);
      if (value < Count) static_cast<void>(texts_[value].assign(row->text));
    }
  }
  const text<32>& operator[](std::int32_t value) const noexcept {
    return texts_[static_cast<std::size_t>(value)];
  }

 private:
  std::array<text<32>, Count> texts_ = {};
};

// The value of `text`: that of the first data row with exactly this text, byte for byte. -1 when
// `text` is null or stands in no data row. For enumeration tables.
std::int32_t str_to_enum(const chk_row* table, const char* text) noexcept;

}  // namespace ruvex
