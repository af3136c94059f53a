#include "sheet.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "command.h"
#include "progress.h"
#include "refusals.h"
#include "report/place_message.h"
#include "strict_form.h"
#include "text/cells.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// The median of the numbers of cells in the first rows that are not blank.
std::size_t usual_cells(std::string_view text, char delimiter) {
  constexpr std::size_t sample = 100;
  std::vector<std::size_t> counts;
  std::vector<cell> row;
  row_reader reader(text, delimiter);
  while (counts.size() < sample && reader.next(row)) {
    if (!is_blank_row(row)) counts.push_back(row.size());
  }
  if (counts.empty()) return 0;
  const auto median = counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
  std::nth_element(counts.begin(), median, counts.end());
  return *median;
}

char find_delimiter(std::string_view text) {
  std::size_t most = 0;
  char found = ',';
  for (const char delimiter : {',', ';', '\t', '|'}) {  // the earlier ones are preferred
    const std::size_t cells = usual_cells(text, delimiter);
    if (cells <= most) continue;
    most = cells;
    found = delimiter;
  }
  return found;
}

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

constexpr const char* defect_messages[] = {
    "",  // none
    "this quote is not closed",
    "text behind a closing quote",
    "more cells than a row of a spreadsheet has",
};

// Turns the rows of one file into mapping lines.
class sheet_tidier {
 public:
  sheet_tidier(const char* path, const sheet_settings& settings) noexcept
      : path_(path),
        settings_(settings),
        shown_(path),
        refused_(path, &shown_),
        form_(settings.replacement),
        has_begun_(settings.skip.has_value()) {}

  // The mapping lines of `text`; nothing, after messages, when there are none or not all of its
  // points can be told in them.
  std::optional<std::string> tidy(std::string_view text);

 private:
  void take(const std::vector<cell>& row);
  bool refuse_defects(const std::vector<cell>& row) noexcept;
  bool refuse_surplus(const std::vector<cell>& row) noexcept;
  void note_header(const std::vector<cell>& row) noexcept;
  void tell_header() noexcept;
  void tell_left_out(std::size_t first, std::size_t last, const char* why) noexcept;
  void tell_replaced() const noexcept;

  const char* path_;
  const sheet_settings& settings_;
  progress shown_;
  refusals refused_;
  strict_form form_;
  std::string lines_;
  bool has_begun_;  // points may come
  std::size_t widest_ = 0;
  std::size_t header_first_ = 0;
  std::size_t header_last_ = 0;
};

std::optional<std::string> sheet_tidier::tidy(std::string_view text) {
  const std::size_t skipped = skip_lines(text, settings_.skip.value_or(0));
  const char delimiter = settings_.delimiter ? *settings_.delimiter : find_delimiter(text);
  row_reader reader(text, delimiter, skipped + 1);
  std::vector<cell> row;
  for (std::int64_t number = 1; reader.next(row); ++number) {
    take(row);
    shown_.at(number);
  }
  shown_.hide();
  if (!has_begun_) tell_header();
  if (const std::size_t column = settings_.columns.largest_chosen(); column > widest_) {
    complain("%s: no row has a column %zu", path_, column);
    return std::nullopt;
  }
  if (refused_.count() != 0) return std::nullopt;
  tell_replaced();
  if (!lines_.empty()) return std::move(lines_);
  complain("%s: no row has a unit and a reference with digits; see --delimiter and --columns",
           path_);
  return std::nullopt;
}

void sheet_tidier::take(const std::vector<cell>& row) {
  widest_ = std::max(widest_, row.size());
  if (refuse_defects(row)) return;
  const field_sources sources = settings_.columns.select(row);
  const std::string_view unit = sources[field_unit].text;
  const std::string_view reference = sources[field_reference].text;
  if (!has_begun_) {
    if (!has_digit(unit) || !has_digit(reference)) return note_header(row);
    tell_header();
    has_begun_ = true;
  }
  const text_place place = row.front().place;
  if (!is_blank(unit) || !is_blank(reference)) {
    if (!refuse_surplus(row)) form_.append_line(sources, place, refused_, lines_);
  } else if (!is_blank_row(row)) {
    tell_left_out(place.line, place.line, "no unit and no reference");
  }
}

bool sheet_tidier::refuse_defects(const std::vector<cell>& row) noexcept {
  const std::size_t refused_before = refused_.count();
  for (const cell& cell : row) {
    if (cell.defect == cell_defect::none) continue;
    refused_.add(cell.defect_place, "%s", defect_messages[static_cast<std::size_t>(cell.defect)]);
  }
  return refused_.count() != refused_before;
}

// Columns that nobody has chosen must not go unnoticed.
bool sheet_tidier::refuse_surplus(const std::vector<cell>& row) noexcept {
  if (settings_.columns.is_chosen()) return false;
  std::size_t used = row.size();
  while (used > max_mapping_fields && is_blank(row[used - 1].text)) --used;
  if (used <= max_mapping_fields) return false;
  refused_.add(row[max_mapping_fields].place, "%zu cells; choose %zu of them with --columns", used,
               max_mapping_fields);
  return true;
}

void sheet_tidier::note_header(const std::vector<cell>& row) noexcept {
  if (is_blank_row(row)) return;
  header_last_ = row.front().place.line;
  if (header_first_ == 0) header_first_ = header_last_;
}

void sheet_tidier::tell_header() noexcept {
  if (header_first_ == 0) return;
  tell_left_out(header_first_, header_last_, "header");
}

void sheet_tidier::tell_left_out(std::size_t first, std::size_t last, const char* why) noexcept {
  shown_.hide();
  print_message({path_, first, last, 0, "left out", why});
}

void sheet_tidier::tell_replaced() const noexcept {
  const auto& [count, place, field, what] = form_.replaced();
  if (count == 0) return;
  const std::string text = message(what, " in field ", static_cast<std::size_t>(field), " (",
                                   mapping_columns[field].name, "); ", count,
                                   count == 1 ? " place" : " places", " in all");
  print_message({path_, place.line, place.line, place.column, "replaced", text});
}

}  // namespace

std::optional<std::string> tidy_sheet(const char* path, std::string_view text,
                                      const sheet_settings& settings) {
  return sheet_tidier(path, settings).tidy(text);
}

}  // namespace ruvex
