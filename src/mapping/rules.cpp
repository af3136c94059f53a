#include "ruvex/mapping/rules.h"

#include <charconv>

#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

// The separators stand low in the character set, so most characters are told apart by one
// comparison.
bool is_separator(char character) noexcept {
  const auto code = static_cast<unsigned char>(character);
  return code <= ',' && (code == ',' || code == '"' || code == '\r' || code == '\n');
}

std::string_view first(std::string_view text, std::size_t count) noexcept {
  return {text.data(), count};
}

// Adds a field that is not empty. The first keeps the blanks at its end, the others lose them.
void add_field(mapping_line& split, const char* begin, const char* end) noexcept {
  if (begin == end) return;
  if (split.count > 0) {
    while (end != begin && end[-1] == ' ') --end;
  }
  split.fields[split.count++] = {begin, static_cast<std::size_t>(end - begin)};
}

}  // namespace

mapping_line split_mapping_line(std::string_view line) noexcept {
  mapping_line split = {};
  const char* at = line.data();
  const char* const end = at + line.size();
  // Up to the last separator, usually the newline, a field needs no look-out for the end.
  const char* last = end;
  while (last != at && !is_separator(last[-1])) --last;
  while (split.count < max_mapping_fields && at != last) {
    const char* const begin = at;
    while (!is_separator(*at)) ++at;
    add_field(split, begin, at);
    ++at;
  }
  if (split.count < max_mapping_fields) add_field(split, last, end);
  return split;
}

unit_text parse_unit(std::string_view field) noexcept {
  const std::size_t slash = field.find('/');
  if (slash == std::string_view::npos) return {{}, field, false};
  std::string_view address = field;
  address.remove_prefix(slash + 1);
  return {first(field, slash), address, true};
}

modbus_reference::modbus_reference(std::string_view field) noexcept : view_(field) {
  constexpr std::int64_t largest_short_reference = 9999;
  constexpr std::int64_t five_digits = 900000;
  if (!field.empty() && field.front() == 'X') {
    view_.remove_prefix(1);
    return;
  }
  const std::int64_t number = decimal_prefix(field);
  if (number > largest_short_reference) return;
  const char* end =
      std::to_chars(digits_.data(), digits_.data() + digits_.size(), number + five_digits).ptr;
  view_ = {digits_.data() + 1, static_cast<std::size_t>(end - digits_.data()) - 1};
}

register_class classify_reference(std::string_view reference) noexcept {
  if (reference.empty()) return register_class::illegal;
  switch (reference.front()) {
    case '0':
      return register_class::coil;
    case '1':
      return register_class::discrete_input;
    case '3':
      return register_class::input_register;
    case '4':
      return register_class::holding_register;
    default:
      return register_class::illegal;
  }
}

int modbus_reg_type(const char* reference) noexcept {
  return static_cast<int>(classify_reference(reference));
}

// clang-format off
constexpr modbus_type_row modbus_type[] = {
    {"2", "BIG",    "FLOAT",    "Floating Point HI/LO"},
    {"2", "LITTLE", "FLOAT",    "Floating Point LO/HI"},
    {"2", "BIG",    "UNSIGNED", "32 Bit Unsigned Integer HI/LO"},
    {"2", "LITTLE", "UNSIGNED", "32 Bit Unsigned Integer LO/HI"},
    {"2", "BIG",    "SIGNED",   "32 Bit Signed Integer HI/LO"},
    {"2", "LITTLE", "SIGNED",   "32 Bit Signed Integer LO/HI"},
    {"1", "BIG",    "UNSIGNED", "16 Bit Unsigned Integer"},
    {"1", "BIG",    "SIGNED",   "16 Bit Signed Integer"},
    {"1", "BIG",    "UNSIGNED", "Bit16"},
    {"2", "BIG",    "UNSIGNED", "Bit32 HI/LO"},
    {"2", "LITTLE", "UNSIGNED", "Bit32 LO/HI"},
    {"0", "0",      "0",        {}},
};
// clang-format on

}  // namespace ruvex
