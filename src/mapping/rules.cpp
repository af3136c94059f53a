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

std::string_view without_trailing_blanks(std::string_view text) noexcept {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

}  // namespace

mapping_line split_mapping_line(std::string_view line) noexcept {
  mapping_line split = {};
  const char* at = line.data();
  const char* const end = at + line.size();
  // Up to the last separator, usually the newline, a field needs no look-out for the end.
  const char* last = end;
  while (last != at && !is_separator(last[-1])) --last;
  std::size_t count = 0;
  while (count < max_mapping_fields && at != end) {
    const char* const begin = at;
    if (at == last) {
      at = end;
    } else {
      while (!is_separator(*at)) ++at;
    }
    if (at != begin) split.fields[count++] = {begin, static_cast<std::size_t>(at - begin)};
    if (at != end) ++at;
  }
  for (std::size_t field = 1; field < count; ++field) {
    split.fields[field] = without_trailing_blanks(split.fields[field]);
  }
  split.count = count;
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
