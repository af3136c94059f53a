#include "strict_form.h"

#include <algorithm>
#include <cstddef>

#include "numbers.h"
#include "ruvex/mapping/rules.h"
#include "text/spreadsheet.h"
#include "text/texts.h"
#include "unwritable.h"

namespace ruvex {
namespace {

// Whether a field is a text for people or a text of a table. A replacement in any other field, a
// number, a unit or a reference, could make another number of it.
bool is_text(mapping_field field) noexcept {
  switch (field) {
    case field_label:
    case field_name:
    case field_data_type:
    case field_bac_type:
    case field_bac_units:
    case field_description:
      return true;
    default:
      return false;
  }
}

std::string strict_text(const mapping_column& column, std::string_view source) {
  std::string text(without_blanks(source));
  if (column.rule == column_rule::unused) {
    const auto is_dropped = [](char character) {
      return std::string_view(",\"\r\n").find(character) != std::string_view::npos;
    };
    std::replace_if(text.begin(), text.end(), is_dropped, ' ');
    return std::string(without_blanks(text));
  }
  if (may_have_fraction(column)) {
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

// A text may look like a number that has been spoilt.
std::string_view defect_of(const mapping_column& column, std::string_view text) noexcept {
  return is_text(column.field) ? std::string_view() : spreadsheet_defect(text);
}

}  // namespace

// Scaling is taken or left as a whole, so a blank end beside one that is given gets its default.
void strict_form::fill_blanks(field_texts& texts) const {
  const bool is_scaled = std::ranges::any_of(scale_columns, [&texts](const mapping_column& end) {
    return !texts[end.field].empty() && texts[end.field] != "0";
  });
  for (const mapping_column& column : mapping_columns) {
    std::string& text = texts[column.field];
    if (!text.empty()) continue;
    const bool is_given = is_scaled && column.rule == column_rule::scale_end;
    text = is_given ? (defaults_.*column.setting).view() : column.default_text;
  }
}

void strict_form::replace(const mapping_column& column, const text_place& place,
                          std::string& text) {
  if (!replacement_ || !is_text(column.field)) return;
  const char* const first = find_unwritable(text);
  if (first == nullptr) return;
  const std::size_t count = replace_unwritable(text, *replacement_);
  if (replaced_.count == 0 && count != 0) {
    replaced_ = {0, place, message(first, " in ", describe_source(column.field))};
  }
  replaced_.count += count;
}

void strict_form::refuse(const mapping_column& column, const text_place& place,
                         std::string_view text, refusals& refused) const {
  const std::size_t field = column.field;
  const char* const unwritable = find_unwritable(text);
  if (text.empty()) {
    refused.add(place, "field %zu (%s) is blank", field, column.name.data());
  } else if (unwritable != nullptr) {
    refused.add(place, "field %zu (%s) holds %s, which a mapping file cannot hold%s", field,
                column.name.data(), unwritable,
                is_text(column.field) && !replacement_ ? "; see --replace" : "");
  } else if (const std::string_view defect = defect_of(column, text); !defect.empty()) {
    refused.add(place, "field %zu (%s): %s %s", field, column.name.data(),
                message(quoted{text}).c_str(), defect.data());
  } else if (decimal_comma_line_ != 0) {
    refuse_unclear(column, place, text, refused);
  }
}

// A point beside decimal commas nearly always separates thousands, and the controller would take it
// for a decimal one.
void strict_form::refuse_unclear(const mapping_column& column, const text_place& place,
                                 std::string_view text, refusals& refused) const {
  const bool is_number = may_have_fraction(column) || column.field == field_reference ||
                         column.field == field_instance;
  if (!is_number) return;
  const std::optional<unclear_number> number = find_unclear_number(text);
  if (!number) return;
  refused.add(place, "field %zu (%s) may be %s or %s, as line %zu has a decimal comma",
              static_cast<std::size_t>(column.field), column.name.data(),
              number->with_thousands.c_str(), number->with_fraction.c_str(), decimal_comma_line_);
}

void strict_form::append_line(const field_sources& sources, const text_place& row,
                              refusals& refused, std::string& lines) {
  const std::size_t refused_before = refused.count();
  field_texts texts;
  for (const mapping_column& column : mapping_columns) {
    const field_source& source = sources[column.field];
    texts[column.field] = strict_text(column, source.text);
    replace(column, source.place, texts[column.field]);
  }
  fill_blanks(texts);
  for (const mapping_column& column : mapping_columns) {
    refuse(column, sources[column.field].place, texts[column.field], refused);
  }
  const std::string line = joined(texts);
  if (line.size() > max_mapping_line) {
    refused.add(row, "the line would be longer than %zu characters, its newline included",
                max_mapping_line);
  }
  if (refused.count() == refused_before) lines += line;
}

}  // namespace ruvex
