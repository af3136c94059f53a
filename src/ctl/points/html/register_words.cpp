#include "register_words.h"

#include <algorithm>
#include <bit>
#include <tuple>

#include "ruvex/cfg/decimal.h"
#include "ruvex/mapping/register_place.h"

namespace ruvex {
namespace {

// The bits of a word of a point: its first one, or the second of a wide one.
std::uint32_t bits_in_word(const placed_point& point, bool is_second) noexcept {
  constexpr std::uint32_t word_bits = 0xFFFF;
  if (is_bit_table(point.table)) return 0;
  const bool is_high = point.is_wide && (point.chn->reg_endian == "LITTLE") == is_second;
  return is_high ? point.mask >> 16 : point.mask & word_bits;
}

// Whether two points that begin at one register take the whole of it, or the same bit.
bool has_repeat(const placed_point* from, const placed_point* end) noexcept {
  bool is_whole_seen = false;
  std::uint32_t seen = 0;
  for (; from != end; ++from) {
    const std::uint32_t lowest = from->mask & -from->mask;
    if (from->mask == 0 ? is_whole_seen : (seen & lowest) != 0) return true;
    is_whole_seen = is_whole_seen || from->mask == 0;
    seen |= lowest;
  }
  return false;
}

// Adds the points that begin at one register.
void add_starts(std::vector<used_word>& words, const placed_point* from, const placed_point* end) {
  const std::int32_t offset = from->offset;
  const bool is_reached = !words.empty() && words.back().offset == offset;
  if (!is_reached) words.push_back({offset, from, 0, 0, false});
  const bool is_repeated = has_repeat(from, end);
  used_word first = words.back();
  used_word second = {offset + 1, from, 0, 0, false};
  first.lead = from;
  first.is_clash = is_reached || is_repeated;
  for (const placed_point* point = from; point != end; ++point) {
    ++first.users;
    first.bits |= bits_in_word(*point, false);
    if (!point->is_wide) continue;
    ++second.users;
    second.bits |= bits_in_word(*point, true);
  }
  second.is_clash = is_repeated && second.users > 1;
  words.back() = first;
  if (second.users != 0) words.push_back(second);
}

}  // namespace

std::vector<placed_point> placed_points(const unit_cfg& unit, std::size_t first) {
  std::vector<placed_point> list;
  for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next, ++first) {
    const register_place place = place_of(chn->reg_num.view());
    if (place.offset < 0 || place.table == register_class::illegal) continue;
    const bool is_wide = !is_bit_table(place.table) && chn->reg_size == "2";
    const auto mask = static_cast<std::uint32_t>(decimal_prefix(chn->reg_mask.view()));
    list.push_back({chn, first, place.table, place.offset, mask, is_wide});
  }
  // Of those that begin at one register a wide one comes first, then one that takes all of it.
  const auto order = [](const placed_point& point) {
    return std::tuple(point.table, point.offset, !point.is_wide, point.mask != 0, point.number);
  };
  std::ranges::sort(list, {}, order);
  return list;
}

std::vector<used_word> words_of(const placed_point* from, const placed_point* end) {
  std::vector<used_word> words;
  while (from != end) {
    const std::int32_t offset = from->offset;
    const placed_point* const next = std::find_if(
        from, end, [offset](const placed_point& point) { return point.offset != offset; });
    add_starts(words, from, next);
    from = next;
  }
  return words;
}

}  // namespace ruvex
