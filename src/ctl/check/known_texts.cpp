#include "known_texts.h"

#include "ruvex/mapping/rules.h"
#include "text/nearest.h"

namespace ruvex {
namespace {

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

}  // namespace

std::string_view known_texts::nearest_to(std::string_view text) {
  constexpr std::size_t most_answers = 1000;  // beyond, no more than the search itself is spent
  std::string key(text);
  if (const auto found = answers_.find(key); found != answers_.end()) return found->second;
  const std::string_view answer = nearest(text, texts_);
  if (answers_.size() < most_answers) answers_.emplace(std::move(key), answer);
  return answer;
}

known_texts& known_data_types() {
  static known_texts known(data_types());
  return known;
}

known_texts& known_object_types() {
  return known_of(chk_bac_type);
}

known_texts& known_units() {
  return known_of(chk_bac_units);
}

known_texts& known_of(const chk_row* table) {
  static std::unordered_map<const chk_row*, known_texts> all;
  return all.try_emplace(table, texts_of(table)).first->second;
}

}  // namespace ruvex
