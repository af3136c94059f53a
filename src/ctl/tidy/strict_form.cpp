#include "strict_form.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "report/field_names.h"
#include "ruvex/mapping/point_reader.h"
#include "text/printable.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// The data type that leaves a channel as it is by default.
std::string_view default_data_type(const chn_cfg& defaults) noexcept {
  const modbus_type_row* row = modbus_type;
  while (row->data_type.data() != nullptr &&
         (is_bit_type(row->data_type) || row->reg_size != defaults.reg_size ||
          row->reg_endian != defaults.reg_endian || row->reg_format != defaults.reg_format)) {
    ++row;
  }
  return row->data_type;
}

bool is_scale(std::size_t field) noexcept {
  return std::any_of(std::begin(scale_ends), std::end(scale_ends),
                     [field](const scale_end& end) { return end.field == field; });
}

// The place of the comma of a number such as "-0,5"; npos where there is none. "1,500" is not taken
// for such a number, as it can be meant as one and a half or as fifteen hundred.
std::size_t find_decimal_comma(std::string_view text) noexcept {
  const std::size_t comma = text.find(',');
  if (comma == std::string_view::npos) return comma;
  std::string_view whole = text.substr(0, comma);
  const std::string_view fraction = text.substr(comma + 1);
  if (whole.starts_with('-') || whole.starts_with('+')) whole.remove_prefix(1);
  if (!is_digits(whole) || !is_digits(fraction)) return std::string_view::npos;
  const bool may_be_thousands = fraction.size() == 3 && whole.size() <= 3 && whole.front() != '0';
  return may_be_thousands ? std::string_view::npos : comma;
}

// What a text holds that a mapping file cannot; null when it is nothing. The control characters
// U+0080 to U+009F are among it: as such a typographic sign of another code page comes out when it
// is taken for Latin-1.
const char* find_unwritable(std::string_view text) noexcept {
  while (!text.empty()) {
    switch (text.front()) {
      case ',':
        return "a comma";
      case '"':
        return "a double quote";
      case '\r':
      case '\n':
        return "a line end";
      case '\0':
        return "a NUL byte";
      default:
        break;
    }
    const character_form form = form_at(text);
    if (!form.is_printable) return "a control character";
    text.remove_prefix(form.length);
  }
  return nullptr;
}

std::string strict_text(std::size_t field, std::string_view source) {
  std::string text(without_blanks(source));
  if (field == field_label) {
    const auto is_dropped = [](char character) {
      return std::string_view(",\"\r\n").find(character) != std::string_view::npos;
    };
    std::replace_if(text.begin(), text.end(), is_dropped, ' ');
    return std::string(without_blanks(text));
  }
  if (field == field_cov_inc || is_scale(field)) {
    const std::size_t comma = find_decimal_comma(text);
    if (comma != std::string::npos) text[comma] = '.';
  }
  return text;
}

std::string joined(const std::array<std::string, max_mapping_fields>& texts) {
  std::string line;
  for (const std::string& text : texts) {
    line += text;
    line += ',';
  }
  line.back() = '\n';
  return line;
}

}  // namespace

strict_form::strict_form() noexcept
    : defaults_(csv_defaults()),
      blank_texts_{"-",
                   defaults_.bac_cov_inc.view(),
                   defaults_.name.view(),
                   {},
                   {},
                   default_data_type(defaults_),
                   defaults_.bac_type.view(),
                   defaults_.instance.view(),
                   defaults_.bac_units.view(),
                   "0",
                   "0",
                   defaults_.scl_dev_lo.view(),
                   defaults_.scl_dev_hi.view(),
                   defaults_.scl_usr_lo.view(),
                   defaults_.scl_usr_hi.view(),
                   "0",
                   "0"} {}

// Scaling is taken or left as a whole; all "0" leaves it.
void strict_form::fill_blanks(field_texts& texts) const {
  const bool is_scaled =
      std::any_of(std::begin(scale_ends), std::end(scale_ends), [&texts](const scale_end& end) {
        return !texts[end.field].empty() && texts[end.field] != "0";
      });
  for (std::size_t field = 0; field < texts.size(); ++field) {
    if (!texts[field].empty()) continue;
    texts[field] = is_scale(field) && !is_scaled ? std::string_view("0") : blank_texts_[field];
  }
}

void strict_form::append_line(const field_sources& sources, const text_place& row,
                              refusals& refused, std::string& lines) const {
  const std::size_t refused_before = refused.count();
  field_texts texts;
  for (std::size_t field = 0; field < texts.size(); ++field) {
    texts[field] = strict_text(field, sources[field].text);
  }
  fill_blanks(texts);
  for (std::size_t field = 0; field < texts.size(); ++field) {
    const char* const name = field_names[field].data();
    const char* const unwritable = find_unwritable(texts[field]);
    if (texts[field].empty()) {
      refused.add(sources[field].place, "field %zu (%s) is blank", field, name);
    } else if (unwritable != nullptr) {
      refused.add(sources[field].place, "field %zu (%s) holds %s, which a mapping file cannot hold",
                  field, name, unwritable);
    }
  }
  const std::string line = joined(texts);
  if (line.size() > max_mapping_line) {
    refused.add(row, "the line would be longer than %zu characters, its newline included",
                max_mapping_line);
  }
  if (refused.count() == refused_before) lines += line;
}

}  // namespace ruvex
