#include "known_texts.h"

#include <algorithm>
#include <utility>

#include "meaning.h"
#include "ruvex/mapping/rules.h"
#include "text/nearest.h"

namespace ruvex {
namespace {

constexpr std::string_view high_word_first = " HI/LO";

std::vector<std::string_view> texts_of(const chk_row* table) {
  std::vector<std::string_view> texts;
  for (const chk_row* row = table + 1; row->value != -1; ++row) texts.emplace_back(row->text);
  return texts;
}

std::vector<std::string_view> data_types() {
  std::vector<std::string_view> texts;
  for (const modbus_type_row* row = modbus_type; row->data_type.data() != nullptr; ++row) {
    texts.push_back(row->data_type);
  }
  return texts;
}

text_kind text_kind_of(const chk_row* table) noexcept {
  if (table == chk_bac_type) return text_kind::object_type;
  return table == chk_bac_units ? text_kind::units : text_kind::other;
}

}  // namespace

known_texts::known_texts(text_kind kind, std::vector<std::string_view> texts)
    : kind_(kind),
      texts_(std::move(texts)),
      candidates_(texts_),
      set_(texts_.begin(), texts_.end()) {
  for (std::string_view text : texts_) {
    if (!text.ends_with(high_word_first)) continue;
    text.remove_suffix(high_word_first.size());
    candidates_.push_back(text);
  }
}

suggestion known_texts::suggest(std::string_view text) {
  constexpr std::size_t most_answers = 1000;  // beyond, no more than the search itself is spent
  std::string key(text);
  if (const auto found = answers_.find(key); found != answers_.end()) return found->second;
  const suggestion answer = search(text);
  if (answers_.size() < most_answers) answers_.emplace(std::move(key), answer);
  return answer;
}

suggestion known_texts::search(std::string_view text) const {
  if (const auto foreign = find_foreign_text(kind_, text)) return *foreign;
  std::vector<std::string_view> alike;
  std::ranges::copy_if(candidates_, std::back_inserter(alike),
                       [text](std::string_view known) { return means_alike(text, known); });
  const std::string_view found = nearest(text, alike);
  return found.empty() || has(found) ? suggestion{found, {}} : in_both_orders(found);
}

suggestion known_texts::in_both_orders(std::string_view text) const {
  suggestion both;
  for (const std::string_view known : texts_) {
    if (!known.starts_with(text)) continue;
    (known.ends_with(high_word_first) ? both.meant : both.or_else) = known;
  }
  return both;
}

known_texts& known_data_types() {
  static known_texts known(text_kind::data_type, data_types());
  return known;
}

known_texts& known_object_types() {
  static known_texts& known = known_of(chk_bac_type);
  return known;
}

known_texts& known_units() {
  static known_texts& known = known_of(chk_bac_units);
  return known;
}

known_texts& known_of(const chk_row* table) {
  static std::unordered_map<const chk_row*, known_texts> all;
  if (const auto found = all.find(table); found != all.end()) return found->second;
  return all.try_emplace(table, text_kind_of(table), texts_of(table)).first->second;
}

}  // namespace ruvex
