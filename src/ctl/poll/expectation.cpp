#include "expectation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>

#include "bus/point_view.h"
#include "command.h"
#include "input.h"
#include "poll_columns.h"
#include "poll_text.h"
#include "report/place_message.h"
#include "text/cells.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::string_view expected_columns[] = {"unit",   "reference", "name",
                                                 "status", "raw",       "value"};
enum expected_column : std::size_t { of_unit, of_reference, of_name, of_status, of_raw, of_value };
using column_places = std::array<std::size_t, std::size(expected_columns)>;

// The places of the columns in a header; false when one is not there.
bool find_columns(const std::vector<cell>& header, column_places& places) {
  for (std::size_t at = 0; at < places.size(); ++at) {
    const auto found = std::ranges::find(header, expected_columns[at], &cell::text);
    if (found == header.end()) return false;
    places[at] = static_cast<std::size_t>(found - header.begin());
  }
  return true;
}

bool is_near(std::string_view value, std::string_view wanted, const poll_tolerance& tolerance) {
  double number = 0;
  double expected = 0;
  if (!parse_decimal(value, number) || !parse_decimal(wanted, expected)) return false;
  const double room =
      tolerance.is_share ? std::fabs(expected) * tolerance.size / 100 : tolerance.size;
  return std::fabs(number - expected) <= room;
}

// A value as poll shows it.
struct shown_value {
  std::string raw, value;
};

shown_value shown_value_of(const poll_row& row, const reading& reading) {
  shown_value shown;
  append_raw(shown.raw, row, reading);
  append_value(shown.value, row, reading);
  return shown;
}

// Where there is no value the words are compared.
bool is_expected(const shown_value& now, const shown_value& wanted,
                 const poll_tolerance& tolerance) {
  if (now.value.empty() || wanted.value.empty()) return now.raw == wanted.raw;
  return now.value == wanted.value || is_near(now.value, wanted.value, tolerance);
}

std::string text_of(const shown_value& shown) {
  return shown.value.empty() ? shown.raw : message(shown.value, " (", shown.raw, ")");
}

void tell_difference(const char* path, const poll_row& row, std::string_view text) {
  std::string name = "unit ";
  append_unit(name, *row.unit);
  print_point_error(
      path, row.line, row.line,
      message(name, ", ", row.chn->reg_num.view(), " (", row.chn->name.view(), "): ", text));
}

}  // namespace

bool parse_tolerance(std::string_view text, poll_tolerance& tolerance) noexcept {
  const bool is_share = text.ends_with('%');
  if (is_share) text.remove_suffix(1);
  double size = 0;
  if (!parse_decimal(text, size) || !(size >= 0)) return false;
  tolerance = {size, is_share};
  return true;
}

std::string expectation::key_of(std::string_view unit, std::string_view reference,
                                std::string_view name) {
  return message(unit, "\n", reference, "\n", name);
}

bool expectation::load(const char* path) {
  const std::optional<std::string> content = read_content(path);
  if (!content) return false;
  path_ = path;
  row_reader reader(*content, ',');
  std::vector<cell> row;
  column_places places = {};
  if (!reader.next(row) || !find_columns(row, places)) {
    complain("%s: is no output of ruvexctl poll --format=csv", path);
    return false;
  }
  const std::size_t width = row.size();
  while (reader.next(row)) {
    if (row.size() != width) {
      complain("%s:%zu: has not as many cells as the header", path, row.front().place.line);
      return false;
    }
    const auto text = [&](expected_column column) { return row[places[column]].text; };
    entries_.push_back({key_of(text(of_unit), text(of_reference), text(of_name)), text(of_raw),
                        text(of_value), row.front().place.line, !text(of_raw).empty()});
  }
  std::ranges::stable_sort(entries_, {}, &entry::key);
  return true;
}

const expectation::entry* expectation::find(const std::string& key,
                                            std::size_t turn) const noexcept {
  const auto first = std::ranges::lower_bound(entries_, key, {}, &entry::key);
  const auto behind = static_cast<std::size_t>(entries_.end() - first);
  const auto found = first + static_cast<std::ptrdiff_t>(std::min(turn, behind));
  return found == entries_.end() || found->key != key ? nullptr : &*found;
}

std::vector<const expectation::entry*> expectation::entries_for(
    std::span<const poll_row> rows) const {
  std::map<std::string, std::size_t> turns;  // of the next point of a key
  std::vector<const entry*> found;
  for (const poll_row& row : rows) {
    std::string unit;
    append_unit(unit, *row.unit);
    const std::string key = key_of(unit, row.chn->reg_num.view(), row.chn->name.view());
    found.push_back(find(key, turns[key]++));
  }
  return found;
}

bool expectation::compare(const char* path, std::span<const poll_row> rows,
                          std::span<reading> readings, const poll_tolerance& tolerance,
                          bool is_whole) const {
  const std::vector<const entry*> expected = entries_for(rows);
  bool is_same = true;
  const auto complain_of = [&](const poll_row& row, std::string_view text) {
    tell_difference(path, row, text);
    is_same = false;
  };
  for (std::size_t at = 0; at < rows.size(); ++at) {
    const poll_row& row = rows[at];
    const entry* const wanted = expected[at];
    reading& got = readings[row.number];
    if (wanted == nullptr) {
      complain_of(row, message("is not in ", path_));
      continue;
    }
    const shown_value now = shown_value_of(row, got);
    if (!wanted->is_read || !is_read(got) ||
        is_expected(now, {wanted->raw, wanted->value}, tolerance)) {
      continue;
    }
    got.status = read_status::differs;
    complain_of(row,
                message("is ", text_of(now), ", expected ", text_of({wanted->raw, wanted->value})));
  }
  return (!is_whole || tell_unused(expected)) && is_same;
}

// False after a message for each entry that no point of the list has.
bool expectation::tell_unused(std::vector<const entry*> used) const {
  std::ranges::sort(used, std::less<>());
  bool is_same = true;
  for (const entry& wanted : entries_) {
    if (std::ranges::binary_search(used, &wanted, std::less<>())) continue;
    print_message({path_, wanted.line, wanted.line, 0, "error", "the list has no such point"});
    is_same = false;
  }
  return is_same;
}

std::vector<std::string> expectation::texts_for(std::span<const poll_row> rows) const {
  std::vector<std::string> texts;
  for (const entry* const wanted : entries_for(rows)) {
    texts.emplace_back();
    if (wanted != nullptr) texts.back() = wanted->value.empty() ? wanted->raw : wanted->value;
  }
  return texts;
}

}  // namespace ruvex
