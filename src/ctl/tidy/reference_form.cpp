#include "reference_form.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <system_error>

#include "report/reference_oddity.h"
#include "ruvex/mapping/register_place.h"
#include "table_text.h"
#include "text/spreadsheet.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr unsigned long last_register = 65536;
constexpr unsigned long last_of_five_digits = 9999;

struct named_form {
  std::string_view text;
  reference_form form;
};

constexpr named_form named_forms[] = {
    {"0", {table_reading::one, register_class::coil, 0, false}},
    {"1", {table_reading::one, register_class::discrete_input, 0, false}},
    {"3", {table_reading::one, register_class::input_register, 0, false}},
    {"4", {table_reading::one, register_class::holding_register, 0, false}},
    {"column", {table_reading::words, register_class::illegal, 0, false}},
    {"table", {table_reading::tables, register_class::illegal, 0, false}},
    {"function", {table_reading::functions, register_class::illegal, 0, false}},
};

// Takes `end` off the end of `text`, where it stands.
bool take_end(std::string_view& text, std::string_view end) noexcept {
  if (!text.ends_with(end)) return false;
  text.remove_suffix(end.size());
  return true;
}

std::string_view without_hex_signs(std::string_view text) noexcept {
  if (text.starts_with("0x") || text.starts_with("0X")) return text.substr(2);
  if (!take_end(text, "h")) take_end(text, "H");
  return text;
}

// Nothing where the text is no number, or one that no register has.
std::optional<unsigned long> small_number(std::string_view text, bool is_hexadecimal) noexcept {
  if (is_hexadecimal) text = without_hex_signs(text);
  unsigned long number = 0;
  const char* const end = text.data() + text.size();
  const auto [behind, error] = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
  if (error != std::errc() || behind != end || number > last_register) return std::nullopt;
  return number;
}

// "X" keeps the converter from taking a coil for a small number, and says that bits are meant.
std::string_view sign_of(register_class table) noexcept {
  switch (table) {
    case register_class::coil:
      return "X0";
    case register_class::discrete_input:
      return "X1";
    case register_class::input_register:
      return "3";
    default:
      return "4";
  }
}

}  // namespace

std::optional<reference_form> parse_reference_form(std::string_view text) noexcept {
  const bool is_hexadecimal = take_end(text, ",hex");
  const bool is_from_zero = take_end(text, "+1");
  if (!is_from_zero && !take_end(text, "+0")) return std::nullopt;
  const auto* const row = std::ranges::find(named_forms, text, &named_form::text);
  if (row == std::end(named_forms)) return std::nullopt;
  reference_form form = row->form;
  form.added = is_from_zero ? 1 : 0;
  form.is_hexadecimal = is_hexadecimal;
  return form;
}

// The number of the register in its table, from 1.
std::optional<unsigned long> reference_writer::number_of(std::string_view cell) const noexcept {
  const std::optional<unsigned long> number =
      small_number(without_blanks(cell), form_->is_hexadecimal);
  if (!number) return std::nullopt;
  const unsigned long counted = *number + form_->added;
  if (counted == 0 || counted > last_register) return std::nullopt;
  return counted;
}

bool reference_writer::may_be_reference(std::string_view cell) const noexcept {
  return has_digit(cell) || (form_ && number_of(cell));
}

void reference_writer::note(const field_sources& sources) noexcept {
  if (!form_) return;
  const std::optional<unsigned long> number = number_of(sources[field_reference].text);
  has_six_digits_ = has_six_digits_ || (number && *number > last_of_five_digits);
}

void reference_writer::refuse_number(const field_source& source, refusals& refused) const {
  const std::string_view text = without_blanks(source.text);
  const std::string_view oddity = reference_oddity(text);
  const std::string_view defect = spreadsheet_defect(text);
  const unsigned long lowest = 1 - form_->added;
  if (!defect.empty()) {
    refused.add(source.place, "field 4 (reference): %s %s", message(quoted{text}).c_str(),
                defect.data());
  } else if (form_->is_hexadecimal) {
    refused.add(source.place, "field 4 (reference): %s is not a hexadecimal number from %lX to %lX",
                message(quoted{text}).c_str(), lowest, last_register - form_->added);
  } else if (oddity == "is hexadecimal") {
    refused.add(source.place, "field 4 (reference): %s is hexadecimal; see --reference",
                message(quoted{text}).c_str());
  } else {
    refused.add(source.place, "field 4 (reference): %s is not a number from %lu to %lu",
                message(quoted{text}).c_str(), lowest, last_register - form_->added);
  }
}

bool reference_writer::write(field_sources& sources, refusals& refused) {
  field_source& source = sources[field_reference];
  if (!form_ || without_blanks(source.text).empty()) return true;
  const std::optional<unsigned long> number = number_of(source.text);
  if (!number) refuse_number(source, refused);
  const register_class table = form_->reading == table_reading::one
                                   ? form_->table
                                   : read_table(sources[table_source], form_->reading, refused);
  if (!number || table == register_class::illegal) return false;
  const std::string digits = message(*number);
  const std::size_t width = std::max<std::size_t>(has_six_digits_ ? 5 : 4, digits.size());
  written_ = message(sign_of(table), std::string(width - digits.size(), '0'), digits);
  source.text = written_;
  return true;
}

}  // namespace ruvex
