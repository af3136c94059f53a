// The rules of a mapping line: how it is split into fields, and how a unit, a reference and a data
// type are written.
//
// Results are views into the line, so the distance between the start of a field and the start of
// the line is the field's column. Nothing is stored or reported here. ruvex-mapping(5) describes
// the format.
#pragma once

#include <array>
#include <cstddef>
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

// A data type: the text that a line has, and what it sets. The table ends with a row whose text is
// null.
struct modbus_type_row {
  text<32> reg_size;
  text<32> reg_endian;
  text<32> reg_format;
  std::string_view data_type;
};
extern const modbus_type_row modbus_type[];

}  // namespace ruvex
