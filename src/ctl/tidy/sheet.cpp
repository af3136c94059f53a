#include "sheet.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "delimiter.h"
#include "fill_down.h"
#include "header.h"
#include "numbers.h"
#include "progress.h"
#include "reference_form.h"
#include "refusals.h"
#include "report/place_message.h"
#include "running_numbers.h"
#include "strict_form.h"
#include "tally.h"
#include "text/cells.h"
#include "text/spreadsheet.h"
#include "text/texts.h"
#include "text_map.h"

namespace ruvex {
namespace {

// Takes up to `count` lines off the start of `text`; gives how many there were.
std::size_t skip_lines(std::string_view& text, unsigned long count) noexcept {
  std::size_t skipped = 0;
  for (; skipped < count && !text.empty(); ++skipped) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(text.size(), 1));
  }
  return skipped;
}

bool is_blank(std::string_view text) noexcept {
  return without_blanks(text).empty();
}

// Whether a row holds one cell at most, as a title does.
bool is_title(const std::vector<cell>& row) noexcept {
  return std::ranges::count_if(row, [](const cell& cell) { return !is_blank(cell.text); }) <= 1;
}

bool has_decimal_comma(const field_sources& sources) noexcept {
  return std::ranges::any_of(mapping_columns, [&](const mapping_column& column) {
    const std::string_view text = without_blanks(sources[column.field].text);
    return may_have_fraction(column) && find_decimal_comma(text) != text.npos;
  });
}

// A row as a text by which it is known again: its cells, each behind its length. Blanks around a
// cell and blank cells at the end do not count. One text takes less memory than a list, and a file
// without points has nothing but such rows.
std::string row_key(const std::vector<cell>& row) {
  std::string key;
  std::size_t end = 0;  // of the last cell that is not blank
  for (const cell& cell : row) {
    const std::string_view text = without_blanks(cell.text);
    append(key, text.size()), append(key, ":"), append(key, text);
    if (!text.empty()) end = key.size();
  }
  key.resize(end);
  return key;
}

// Whether a cell may hold a comma, and another one a point: a look that is cheap, as the rows are
// read a second time where it is so.
bool may_hold_unclear_numbers(std::string_view text, char delimiter) noexcept {
  return text.find(delimiter == ',' ? '"' : ',') != text.npos && text.find('.') != text.npos;
}

// Turns the rows of one file into mapping lines.
class sheet_tidier {
 public:
  sheet_tidier(const char* path, const sheet_settings& settings) noexcept
      : path_(path),
        settings_(settings),
        shown_(path),
        refused_(path, &shown_),
        form_(settings.replacement),
        fill_(settings.filled),
        references_(settings.reference),
        columns_(settings.columns),
        has_begun_(settings.skip.has_value()) {}

  // The mapping lines of `text`; nothing, after messages, when there are none or not all of its
  // points can be told in them.
  std::optional<std::string> tidy(std::string_view text);

  // What the columns of `text` become; nothing, after messages, when that cannot be told.
  std::optional<std::string> show_header(std::string_view text);

 private:
  char delimiter_of(std::string_view text) const;
  bool find_header(row_reader reader);
  field_sources sources_of(const std::vector<cell>& row) const noexcept;
  bool is_blank_point(const std::vector<cell>& row, const field_sources& sources) const noexcept;
  bool is_point(const field_sources& sources) const noexcept;
  bool is_header(const std::vector<cell>& row, const field_sources& sources) const noexcept;
  void take(const std::vector<cell>& row);
  void take_point(const std::vector<cell>& row, field_sources sources);
  void look_ahead(row_reader reader, bool seeks_comma);
  void note_skipped(row_reader reader);
  bool is_repeated_header(const std::vector<cell>& row, const field_sources& sources) const;
  bool refuse_surplus(const std::vector<cell>& row) noexcept;
  void note_header(const std::vector<cell>& row, const field_sources& sources);
  void tell_header() noexcept;
  void tell_left_out(std::size_t first, std::size_t last, const char* why) noexcept;

  const char* path_;
  const sheet_settings& settings_;
  progress shown_;
  refusals refused_;
  strict_form form_;
  tally unmapped_;
  fill_down fill_;
  reference_writer references_;
  running_numbers numbers_;
  column_list columns_;  // those of the settings, with their headers found
  std::vector<cell> header_row_;
  std::string lines_;
  bool has_begun_;  // points may come
  std::size_t widest_ = 0;
  std::set<std::string> headers_;  // those that could be taken for points
  std::size_t header_first_ = 0;
  std::size_t header_last_ = 0;
};

std::optional<std::string> sheet_tidier::tidy(std::string_view text) {
  const std::string_view whole = text;
  const std::size_t skipped = skip_lines(text, settings_.skip.value_or(0));
  const char delimiter = delimiter_of(text);
  if (columns_.has_names() && !find_header(row_reader(whole, delimiter))) return std::nullopt;
  note_skipped(row_reader(whole.substr(0, whole.size() - text.size()), delimiter));
  row_reader reader(text, delimiter, skipped + 1);
  look_ahead(reader, may_hold_unclear_numbers(text, delimiter));
  std::vector<cell> row;
  for (std::int64_t number = 1; reader.next(row); ++number) {
    take(row);
    shown_.at(number);
  }
  shown_.hide();
  tell_header();
  if (const std::size_t column = columns_.largest_chosen(); column > widest_) {
    complain("%s: no row has a column %zu", path_, column);
    return std::nullopt;
  }
  if (refused_.count() != 0) return std::nullopt;
  tell(path_, "not mapped", unmapped_);
  tell(path_, "filled", fill_.filled());
  tell(path_, "replaced", form_.replaced());
  if (!lines_.empty()) return std::move(lines_);
  complain("%s: no row has a unit and a reference with digits; see --delimiter and --columns",
           path_);
  return std::nullopt;
}

std::optional<std::string> sheet_tidier::show_header(std::string_view text) {
  const std::string_view whole = text;
  skip_lines(text, settings_.skip.value_or(0));
  if (!find_header(row_reader(whole, delimiter_of(text)))) return std::nullopt;
  return describe_header(header_row_, columns_);
}

char sheet_tidier::delimiter_of(std::string_view text) const {
  return settings_.delimiter ? *settings_.delimiter : find_delimiter(text);
}

// Finds the columns that have been chosen by header. They may stand in lines that are skipped.
bool sheet_tidier::find_header(row_reader reader) {
  header_row_ = find_header_row(reader, columns_);
  if (header_row_.empty()) {
    complain("%s: no row is a header", path_);
    return false;
  }
  columns_.find_headers(header_row_, refused_);
  return refused_.count() == 0;
}

field_sources sheet_tidier::sources_of(const std::vector<cell>& row) const noexcept {
  field_sources sources = columns_.select(row);
  map_texts(settings_.maps, sources);
  return sources;
}

// A unit that is the same text for all rows says nothing about this one.
bool sheet_tidier::is_blank_point(const std::vector<cell>& row,
                                  const field_sources& sources) const noexcept {
  if (!is_blank(sources[field_reference].text)) return false;
  const bool is_of_row = columns_.choice_of(field_unit).column != 0;
  return is_of_row ? is_blank(sources[field_unit].text) : is_title(row);
}

// Whether a row is certainly none of a header. A unit that may stand in a merged cell says nothing.
bool sheet_tidier::is_point(const field_sources& sources) const noexcept {
  const std::string_view unit = sources[field_unit].text;
  const std::string_view reference = sources[field_reference].text;
  const bool may_be_unit = has_digit(unit) || (settings_.filled.test(field_unit) && is_blank(unit));
  return (may_be_unit && references_.may_be_reference(reference)) || is_error_value(unit) ||
         is_error_value(reference);
}

bool sheet_tidier::is_header(const std::vector<cell>& row,
                             const field_sources& sources) const noexcept {
  const std::size_t line = row.front().place.line;
  if (!header_row_.empty() && line <= header_row_.front().place.line) return true;
  return !has_begun_ && !is_point(sources);
}

void sheet_tidier::take(const std::vector<cell>& row) {
  widest_ = std::max(widest_, row.size());
  if (refuse_defects(row, refused_) || is_blank_row(row)) return;
  const field_sources sources = sources_of(row);
  if (is_header(row, sources)) return note_header(row, sources);
  tell_header();
  has_begun_ = true;
  const text_place place = row.front().place;
  if (is_repeated_header(row, sources)) {
    tell_left_out(place.line, place.line, "repeated header");
  } else if (!is_blank_point(row, sources)) {
    take_point(row, sources);
  } else {
    tell_left_out(place.line, place.line, "no unit and no reference");
  }
}

void sheet_tidier::take_point(const std::vector<cell>& row, field_sources sources) {
  if (refuse_surplus(row)) return;
  if (!settings_.maps.empty()) note_unmapped(settings_.maps, columns_.select(row), unmapped_);
  fill_.put(sources);
  numbers_.put(columns_, sources, refused_);
  if (!references_.write(sources, refused_)) return;
  form_.append_line(sources, row.front().place, refused_, lines_);
}

// Finds out what has to be known of all points before the first is written.
void sheet_tidier::look_ahead(row_reader reader, bool seeks_comma) {
  std::vector<cell> row;
  for (bool has_begun = has_begun_; (seeks_comma || references_.has_form()) && reader.next(row);) {
    const field_sources sources = sources_of(row);
    has_begun = has_begun || is_point(sources);
    if (!has_begun || is_blank_point(row, sources)) continue;
    references_.note(sources);
    if (!seeks_comma || !has_decimal_comma(sources)) continue;
    form_.expect_decimal_commas(row.front().place.line);
    seeks_comma = false;
  }
}

void sheet_tidier::note_skipped(row_reader reader) {
  std::vector<cell> row;
  while (reader.next(row)) {
    const field_sources sources = sources_of(row);
    if (!is_point(sources) && !is_blank_point(row, sources)) headers_.insert(row_key(row));
  }
}

bool sheet_tidier::is_repeated_header(const std::vector<cell>& row,
                                      const field_sources& sources) const {
  return !headers_.empty() && !is_point(sources) && headers_.contains(row_key(row));
}

// Columns that nobody has chosen must not go unnoticed.
bool sheet_tidier::refuse_surplus(const std::vector<cell>& row) noexcept {
  if (columns_.is_chosen()) return false;
  std::size_t used = row.size();
  while (used > max_mapping_fields && is_blank(row[used - 1].text)) --used;
  if (used <= max_mapping_fields) return false;
  refused_.add(row[max_mapping_fields].place, "%zu cells; choose %zu of them with --columns", used,
               max_mapping_fields);
  return true;
}

void sheet_tidier::note_header(const std::vector<cell>& row, const field_sources& sources) {
  if (!is_blank_point(row, sources)) headers_.insert(row_key(row));
  header_last_ = row.front().place.line;
  if (header_first_ == 0) header_first_ = header_last_;
}

void sheet_tidier::tell_header() noexcept {
  if (header_first_ == 0) return;
  tell_left_out(header_first_, header_last_, "header");
  header_first_ = 0;
}

void sheet_tidier::tell_left_out(std::size_t first, std::size_t last, const char* why) noexcept {
  shown_.hide();
  print_message({path_, first, last, 0, "left out", why});
}

}  // namespace

std::optional<std::string> tidy_sheet(const char* path, std::string_view text,
                                      const sheet_settings& settings) {
  return sheet_tidier(path, settings).tidy(text);
}

std::optional<std::string> show_header(const char* path, std::string_view text,
                                       const sheet_settings& settings) {
  return sheet_tidier(path, settings).show_header(text);
}

}  // namespace ruvex
