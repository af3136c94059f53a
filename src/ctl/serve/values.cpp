#include "values.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bus/point_view.h"
#include "report/place_message.h"
#include "text/cells.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// The points of one unit and reference, in the order of the list.
struct named_points {
  std::vector<std::pair<served_unit*, served_point*>> points;
  std::size_t next = 0;
};

using points_by_name = std::unordered_map<std::string, named_points>;

std::string point_key(std::string_view unit, std::string_view reference) {
  std::string key(unit);
  key += '\n';
  key += reference;
  return key;
}

points_by_name name_points(register_image& image) {
  points_by_name names;
  std::string unit_name;
  const unit_cfg* named = nullptr;
  for (served_unit& unit : image.units) {
    for (served_point& served : unit.points()) {
      if (served.unit != named) {
        unit_name.clear();
        append_unit(unit_name, *served.unit);
        named = served.unit;
      }
      const std::string_view reference = served.point.chn->reg_num.view();
      names[point_key(unit_name, reference)].points.emplace_back(&unit, &served);
    }
  }
  return names;
}

constexpr std::size_t no_column = static_cast<std::size_t>(-1);

struct value_columns {
  std::size_t unit = 0, reference = 1, value = 2, raw = no_column;
};

std::string_view text_at(const std::vector<cell>& row, std::size_t column) noexcept {
  return column < row.size() ? without_blanks(row[column].text) : std::string_view();
}

// Nothing where the row is no header.
std::optional<value_columns> header_columns(const std::vector<cell>& row) {
  value_columns columns = {no_column, no_column, no_column, no_column};
  const struct {
    std::string_view name;
    std::size_t& place;
  } wanted[] = {{"unit", columns.unit},
                {"reference", columns.reference},
                {"value", columns.value},
                {"raw", columns.raw}};
  for (std::size_t at = 0; at < row.size(); ++at) {
    for (const auto& column : wanted) {
      if (text_at(row, at) == column.name) column.place = at;
    }
  }
  const bool is_header =
      columns.unit != no_column && columns.reference != no_column && columns.value != no_column;
  return is_header ? std::optional(columns) : std::nullopt;
}

bool parse_value(std::string_view text, double& value) noexcept {
  constexpr double no_limit = std::numeric_limits<double>::infinity();
  constexpr std::pair<std::string_view, double> names[] = {
      {"nan", std::numeric_limits<double>::quiet_NaN()}, {"inf", no_limit}, {"-inf", -no_limit}};
  for (const auto& [name, number] : names) {
    if (text != name) continue;
    value = number;
    return true;
  }
  return parse_decimal(text, value);
}

// Words of four hexadecimal digits each, with blanks between them or without.
bool parse_words(std::string_view text, std::size_t count, std::array<std::uint16_t, 2>& words) {
  for (std::size_t at = 0; at < count; ++at) {
    while (text.starts_with(' ')) text.remove_prefix(1);
    if (text.size() < 4) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + 4, words[at], 16);
    if (error != std::errc() || end != text.data() + 4) return false;
    text.remove_prefix(4);
  }
  return text.empty();
}

class value_reader {
 public:
  value_reader(const char* path, register_image& image) : path_(path), names_(name_points(image)) {}

  void take(const std::vector<cell>& row) {
    if (is_blank_row(row)) return;
    const bool is_first = !has_begun_;
    has_begun_ = true;
    const std::optional<value_columns> header =
        is_first ? header_columns(row) : std::optional<value_columns>();
    if (header) {
      columns_ = *header;
    } else {
      put(row);
    }
  }

  bool is_clean() const noexcept { return is_clean_; }

 private:
  void put(const std::vector<cell>& row) {
    const std::string_view unit = text_at(row, columns_.unit);
    const std::string_view reference = text_at(row, columns_.reference);
    const auto found = names_.find(point_key(unit, reference));
    if (found == names_.end()) {
      return refuse(row, message("unit ", unit, " has no point ", reference));
    }
    named_points& named = found->second;
    const auto [where, served] = named.points[named.next];
    named.next = (named.next + 1) % named.points.size();
    put_point(row, *where, *served);
  }

  void put_point(const std::vector<cell>& row, served_unit& where, served_point& served) {
    const std::string_view text = text_at(row, columns_.value);
    std::array<std::uint16_t, 2> words = {};
    double value = 0;
    if (parse_words(text_at(row, columns_.raw), served.point.words, words)) {
      if (served.is_swapped) std::swap(words[0], words[1]);
      where.put_words(served, words);
    } else if (text.empty()) {
      return;
    } else if (!parse_value(text, value)) {
      return refuse(row, message(quoted{text}, " is no number"));
    } else if (!where.put(served, value)) {
      return refuse(row, message("the register cannot hold ", text));
    }
    served.is_given = true;
  }

  void refuse(const std::vector<cell>& row, std::string_view what) {
    const std::size_t line = row.front().place.line;
    print_message({path_, line, line, 0, "error", what});
    is_clean_ = false;
  }

  const char* path_;
  points_by_name names_;
  value_columns columns_;
  bool has_begun_ = false;
  bool is_clean_ = true;
};

struct user_range {
  double low, high;
  bool is_whole;  // its steps are 1, otherwise a hundredth of it
};

user_range range_for(const value_form& form) noexcept {
  if (form.kind == value_kind::bit) return {0, 1, true};
  if (form.kind == value_kind::masked) {
    return {0, static_cast<double>(form.mask >> std::countr_zero(form.mask)), true};
  }
  if (form.is_scaled) return {form.user_low, form.user_high, false};
  return {0, 100, true};
}

double counted(const user_range& range, double seconds) noexcept {
  const double span = range.high - range.low;
  if (range.is_whole) return range.low + std::fmod(std::floor(seconds), span + 1);
  return range.low + span * std::fmod(std::floor(seconds), 101) / 100;
}

// Points that stand side by side are out of step, so that each can be told from its neighbours.
double waved(const user_range& range, double seconds, std::size_t number) noexcept {
  constexpr double turn = 2 * 3.14159265358979323846;
  const double share = seconds / 60 + static_cast<double>(number % 12) / 12;
  return range.low + (range.high - range.low) * (1 + std::sin(turn * share)) / 2;
}

}  // namespace

bool put_values(const char* path, std::string_view content, register_image& image) {
  value_reader values(path, image);
  std::vector<cell> row;
  const std::string_view rows =
      content.substr(content.starts_with(utf_8_mark) ? utf_8_mark.size() : 0);
  for (row_reader reader(rows, ','); reader.next(row);) values.take(row);
  return values.is_clean();
}

// Where the low end does not fit the registers they stay 0.
void begin_pattern(register_image& image) noexcept {
  for (served_unit& unit : image.units) {
    for (const served_point& served : unit.points()) {
      const value_form form = served_form(served);
      if (form.is_scaled) unit.put(served, form.user_low);
    }
  }
}

void move_points(served_unit& unit, const table_request& request, value_pattern pattern,
                 double seconds) noexcept {
  if (pattern == value_pattern::constant || request.function->is_write) return;
  for (const served_point& served :
       unit.points_within(request.function->table, request.first, request.count)) {
    if (served.is_given) continue;
    const user_range range = range_for(served_form(served));
    unit.put(served, pattern == value_pattern::count ? counted(range, seconds)
                                                     : waved(range, seconds, served.point.number));
  }
}

}  // namespace ruvex
