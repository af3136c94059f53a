#include "table_text.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>

#include "ruvex/mapping/register_place.h"
#include "text/texts.h"

namespace ruvex {
namespace {

struct table_word {
  std::string_view text;
  register_class table;
};

constexpr auto table_words = [] {
  using enum register_class;
  return std::to_array<table_word>({
      {"0x", coil},
      {"coil", coil},
      {"1x", discrete_input},
      {"discreteinput", discrete_input},
      {"3x", input_register},
      {"inputregister", input_register},
      {"4x", holding_register},
      {"holdingregister", holding_register},
  });
}();

constexpr auto table_digits = [] {
  using enum register_class;
  return std::to_array<table_word>(
      {{"0", coil}, {"1", discrete_input}, {"3", input_register}, {"4", holding_register}});
}();

// The functions that read, then those that write.
constexpr auto function_codes = [] {
  using enum register_class;
  return std::to_array<table_word>({
      {"1", coil},
      {"2", discrete_input},
      {"3", holding_register},
      {"4", input_register},
      {"5", coil},
      {"6", holding_register},
      {"15", coil},
      {"16", holding_register},
  });
}();

register_class find_table(std::span<const table_word> words, std::string_view text) noexcept {
  const auto found = std::ranges::find(words, text, &table_word::text);
  return found == words.end() ? register_class::illegal : found->table;
}

std::string plain_word(std::string_view text) {
  std::string plain;
  for (const char character : without_blanks(text)) {
    const bool is_letter = character >= 'A' && character <= 'Z';
    if (character == ' ' || character == '-' || character == '_') continue;
    plain += is_letter ? static_cast<char>(character - 'A' + 'a') : character;
  }
  if (plain.ends_with('s')) plain.pop_back();
  return plain;
}

// "3" and "03".
register_class table_of_function(std::string_view code) noexcept {
  if (code.size() > 1 && code.front() == '0') code.remove_prefix(1);
  return find_table(function_codes, code);
}

std::string name_or_none(register_class table) {
  return std::string(table == register_class::illegal ? "none" : table_name(table));
}

}  // namespace

register_class read_table(const field_source& cell, table_reading reading, refusals& refused) {
  const std::string word = plain_word(cell.text);
  const std::string shown = message(quoted{without_blanks(cell.text)});
  register_class found = find_table(table_words, word);
  if (word.starts_with("fc")) found = table_of_function(std::string_view(word).substr(2));
  if (is_digits(word) && reading == table_reading::tables) found = find_table(table_digits, word);
  if (is_digits(word) && reading == table_reading::functions) found = table_of_function(word);
  if (found != register_class::illegal) return found;
  if (word.empty()) {
    refused.add(cell.place, "the table of the reference is blank");
  } else if (is_digits(word) && reading == table_reading::words) {
    refused.add(cell.place, "%s may be the table %s (%s) or the function %s (%s); see --reference",
                shown.c_str(), word.c_str(), name_or_none(find_table(table_digits, word)).c_str(),
                word.c_str(), name_or_none(table_of_function(word)).c_str());
  } else {
    refused.add(cell.place, "%s names no table of registers, as 4x, holding register and FC3 do",
                shown.c_str());
  }
  return register_class::illegal;
}

}  // namespace ruvex
