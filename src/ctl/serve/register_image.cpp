#include "register_image.h"

#include <algorithm>
#include <functional>
#include <tuple>

namespace ruvex {
namespace {

using table_place = std::tuple<register_class, std::size_t>;

table_place place_in_unit(const served_point& served) noexcept {
  return {served.point.table, served.point.offset};
}

served_unit& unit_for(register_image& image, station& where, std::uint8_t number) {
  served_unit* unit = where.unit(number);
  if (unit == nullptr) {
    unit = &image.units.emplace_back();
    where.set(number, unit);
  }
  return *unit;
}

}  // namespace

void cell_table::seal() {
  std::ranges::sort(cells_, std::less<>(), &register_cell::offset);
  const auto is_same = [](const register_cell& one, const register_cell& other) {
    return one.offset == other.offset;
  };
  cells_.erase(std::unique(cells_.begin(), cells_.end(), is_same), cells_.end());
  cells_.shrink_to_fit();
}

std::span<register_cell> cell_table::within(std::size_t first, std::size_t count) noexcept {
  const auto begin = std::ranges::lower_bound(cells_, first, std::less<>(), &register_cell::offset);
  // An address has one cell at most, so what is sought is among the next `count` cells.
  const auto most = std::min(count, static_cast<std::size_t>(cells_.end() - begin));
  const auto end = std::ranges::lower_bound(begin, begin + static_cast<std::ptrdiff_t>(most),
                                            first + count, std::less<>(), &register_cell::offset);
  return {begin, end};
}

value_form served_form(const served_point& served) noexcept {
  value_form form = form_of(served.point);
  if (!served.is_swapped) return form;
  const bool is_high_first = form.order == mod_word_order::high_first;
  form.order = is_high_first ? mod_word_order::low_first : mod_word_order::high_first;
  return form;
}

void served_unit::add(const bus_unit& unit) {
  ++unit_count_;
  for (const bus_point& point : unit.points) {
    points_.push_back({unit.unit, point, false, false});
    for (unsigned word = 0; word < point.words; ++word) {
      table(point.table).add(static_cast<std::uint16_t>(point.offset + word));
    }
  }
}

void served_unit::seal() {
  for (cell_table& table : tables_) table.seal();
  if (unit_count_ > 1) std::ranges::stable_sort(points_, std::less<>(), place_in_unit);
}

std::span<served_point> served_unit::points_within(register_class table, std::size_t first,
                                                   std::size_t count) noexcept {
  // A point of two registers may begin one address earlier.
  const std::size_t from = first == 0 ? 0 : first - 1;
  const auto begin =
      std::ranges::lower_bound(points_, table_place(table, from), std::less<>(), place_in_unit);
  const auto end = std::ranges::lower_bound(points_, table_place(table, first + count),
                                            std::less<>(), place_in_unit);
  const auto is_before = [first](const served_point& served) {
    return served.point.offset + std::size_t{served.point.words} <= first;
  };
  const auto inside = std::find_if_not(begin, end, is_before);
  return {inside, end};
}

std::span<register_cell> served_unit::cells_of(const served_point& served) noexcept {
  return table(served.point.table).within(served.point.offset, served.point.words);
}

std::array<std::uint16_t, 2> served_unit::words_of(const served_point& served) noexcept {
  std::array<std::uint16_t, 2> words = {};
  std::ranges::transform(cells_of(served), words.begin(), &register_cell::word);
  return words;
}

void served_unit::put_words(const served_point& served,
                            std::array<std::uint16_t, 2> words) noexcept {
  std::size_t at = 0;
  for (register_cell& cell : cells_of(served)) cell.word = words[at++];
}

bool served_unit::put(const served_point& served, double value) noexcept {
  std::array<std::uint16_t, 2> words = words_of(served);
  if (!put_user_value(served_form(served), value, words.data())) return false;
  put_words(served, words);
  return true;
}

bool served_unit::is_read(const served_point& served) noexcept {
  return std::ranges::all_of(cells_of(served), &register_cell::is_read);
}

register_image image_of(const device_list& list, unit_grouping grouping) {
  register_image image;
  if (grouping == unit_grouping::number) image.stations[""];  // also of a list without units
  for (const bus_unit& unit : list.units) {
    if (unit.defect != unit_defect::none) {
      ++image.left_out;
      continue;
    }
    const bool is_by_address = grouping == unit_grouping::address;
    station& where = image.stations[is_by_address ? unit.host : std::string_view()];
    unit_for(image, where, unit.address).add(unit);
  }
  for (served_unit& unit : image.units) {
    unit.seal();
    if (unit.unit_count() > 1) ++image.crowded;
  }
  return image;
}

}  // namespace ruvex
