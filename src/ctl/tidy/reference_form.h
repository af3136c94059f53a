// References that a list gives as numbers in a table of registers, turned into whole references.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "refusals.h"
#include "ruvex/mapping/rules.h"
#include "sources.h"
#include "table_text.h"

namespace ruvex {

struct reference_form {
  table_reading reading;
  register_class table;  // the one; else illegal
  unsigned long added;   // what makes of the list's number that of the register, which begins at 1
  bool is_hexadecimal;   // the list's numbers are, with "0x" before them, "h" after them, or plain
};

// Parses TABLE+ADDED or TABLE+ADDED,hex: TABLE is 0, 1, 3 or 4, or "column", "table" or "function",
// ADDED is 0 or 1. Nothing when `text` is no such form.
std::optional<reference_form> parse_reference_form(std::string_view text) noexcept;

// Writes the references of one list. Without a form they stay as they are.
class reference_writer {
 public:
  explicit reference_writer(const std::optional<reference_form>& form) noexcept : form_(form) {}

  bool has_form() const noexcept { return form_.has_value(); }

  // Whether a cell can be a reference of the list rather than its header.
  bool may_be_reference(std::string_view cell) const noexcept;

  // Looks at a row before the first is written: one number above 9999, which five digits cannot
  // tell, has all references of the list written with six.
  void note(const field_sources& sources) noexcept;

  // Puts the whole reference in the place of the row's number; a blank one stays. The text lives
  // until the next call. False, and `sources` are unchanged, after a refusal: the number or the
  // table is none, or the table has no register with the number.
  bool write(field_sources& sources, refusals& refused);

 private:
  std::optional<unsigned long> number_of(std::string_view cell) const noexcept;
  void refuse_number(const field_source& source, refusals& refused) const;

  std::optional<reference_form> form_;
  bool has_six_digits_ = false;
  std::string written_;
};

}  // namespace ruvex
