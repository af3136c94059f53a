#include "meaning.h"

#include <algorithm>
#include <string>

#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

// In capital letters, with blanks for what separates words.
constexpr std::string_view telling_words[] = {
    "MICRO", "MILLI",   "CENTI",   "DECI",     "HECTO",  "KILO",    "MEGA",   "GIGA",
    "TERA",  "MILLION", "BILLION", "TRILLION", "SEC",    "MIN",     "HOUR",   "DAY",
    "PER ",  "SIGNED",  "UNSIGN",  "FLOAT",    "INT",    "BIT",     "HI/LO",  "LO/HI",
    "INPUT", "OUTPUT",  "VALUE",   "ANALOG",   "BINARY", "SQUARE",  "CUBIC",  "IMPERIAL",
    "US ",   "VOLT",    "AMP",     "REACTIVE", "HUMID",  "CELCIUS", "KELVIN", "FAHRENHEIT",
};

std::string folded_text(std::string_view text) {
  std::string folded(text);
  for (char& character : folded) {
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
    if (character == '_' || character == '-') character = ' ';
  }
  // The usual spelling, and the one of the tables.
  if (const std::size_t at = folded.find("CELSIUS"); at != std::string::npos) folded[at + 3] = 'C';
  return folded;
}

// The digits of a text, a blank for whatever stands between them.
std::string digits_of(std::string_view text) {
  std::string digits;
  for (const char character : text) {
    if (is_digit(character)) digits += character;
    if (!is_digit(character) && !digits.empty() && digits.back() != ' ') digits += ' ';
  }
  if (digits.ends_with(' ')) digits.pop_back();
  return digits;
}

}  // namespace

bool means_alike(std::string_view a, std::string_view b) {
  const std::string first = folded_text(a);
  const std::string second = folded_text(b);
  if (first.empty() || second.empty() || first.front() != second.front()) return false;
  const auto agree = [&](std::string_view word) {
    return (first.find(word) != std::string::npos) == (second.find(word) != std::string::npos);
  };
  return digits_of(first) == digits_of(second) && std::ranges::all_of(telling_words, agree);
}

}  // namespace ruvex
