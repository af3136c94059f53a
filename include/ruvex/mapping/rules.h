// The rules of a mapping line: how it is split, and what each field comes to mean.
//
// The rules work on views into the line, so that a field's column is the distance of its first
// character from the line's; they store nothing and report nothing. The mapping file's format is
// described in ruvex-mapping(5).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ruvex/cfg/text.h"
#include "ruvex/mapping/columns.h"

namespace ruvex {

// Longest line, its newline included.
inline constexpr std::size_t max_mapping_line = 1023;

// The fields that a line has; those beyond `count` are empty. Views into the line.
struct mapping_line {
  std::array<std::string_view, max_mapping_fields> fields;
  std::size_t count;
};

// Splits a line, with or without its line end, at every run of commas, double quotes, carriage
// returns and newlines, and takes the blanks off the end of every field but the first. Fields
// beyond the 17th are left out.
mapping_line split_mapping_line(std::string_view line) noexcept;

// The name rule: the start of `field` that becomes the point's name. Up to 57 characters it is all
// of it. From a longer one five digits at the end are taken away, or an "m" and up to three digits,
// and the blanks before them; what is left is cut to 63 characters.
std::string_view point_name(std::string_view field) noexcept;

// What a unit field says: an address, or an IP address and an address on either side of the first
// slash. Views into the field.
struct unit_text {
  std::string_view ip_address;  // empty without a slash
  std::string_view address;
  bool has_slash;
};
unit_text parse_unit(std::string_view field) noexcept;

// A Modbus reference as the channel holds it. "X" and a text give the text; a number above 9999
// gives the field as it stands; any other number (a field without digits counts as 0) gives its
// last five digits, which makes it a coil.
class modbus_reference {
 public:
  explicit modbus_reference(std::string_view field) noexcept;
  modbus_reference(const modbus_reference&) = delete;
  modbus_reference& operator=(const modbus_reference&) = delete;

  // Valid as long as this object and the line that it was made from.
  std::string_view view() const noexcept { return view_; }

 private:
  std::array<char, 20> digits_;
  std::string_view view_;
};

// The register class of a reference, from its first character; the numbers of modbus_reg_type.
enum class register_class : int {
  illegal = -1,
  coil = 0,
  discrete_input = 1,
  input_register = 2,
  holding_register = 3,
};
register_class classify_reference(std::string_view reference) noexcept;

// The same as a number: 0 for "0", 1 for "1", 2 for "3", 3 for "4", -1 for any other first
// character and for an empty text.
int modbus_reg_type(const char* reference) noexcept;

// A row of the data-type table.
struct modbus_type_row {
  text<32> reg_size;
  text<32> reg_endian;
  text<32> reg_format;
  std::string_view data_type;  // null in the end row
};
extern const modbus_type_row modbus_type[];

// The first row of modbus_type with exactly this data-type text; null when there is none.
const modbus_type_row* find_data_type(std::string_view data_type) noexcept;

// Whether a data-type text marks its point as a bit of a register: it has "Bit16" or "Bit32" in it.
bool is_bit_type(std::string_view data_type) noexcept;

// The mask of the bit whose number is `field`: of the number only the low eight bits count, and
// from 32 on the mask is 0. Bit 31 is the sign.
std::int32_t bit_mask(std::string_view field) noexcept;

// The channel type (a value of chk_chn_type) of a register class and an object type text; -1 for an
// illegal class.
std::int32_t channel_type(register_class reg_class, std::string_view bac_type) noexcept;

// The Modbus write function (a value of chk_reg_fcn) of a register class and a register count text.
std::int32_t write_function(register_class reg_class, std::string_view reg_size) noexcept;

}  // namespace ruvex
