#include "nearest.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ruvex {
namespace {

constexpr std::size_t longest = 40;  // no known text is longer
constexpr unsigned change = 4;       // one character more, less or other
constexpr unsigned slip = 1;         // the same letter in the other case, another kind of blank

char folded(char character) noexcept {
  if (character >= 'a' && character <= 'z') return static_cast<char>(character - 'a' + 'A');
  return character == '_' || character == '-' ? ' ' : character;
}

unsigned replacement(char a, char b) noexcept {
  if (a == b) return 0;
  return folded(a) == folded(b) ? slip : change;
}

// The smallest sum of changes and slips that makes one text of the other (Levenshtein's distance,
// weighted), one row of its table at a time.
unsigned distance(std::string_view a, std::string_view b) noexcept {
  std::array<unsigned, longest + 1> row = {};
  for (std::size_t column = 0; column <= b.size(); ++column) {
    row[column] = static_cast<unsigned>(column) * change;
  }
  for (std::size_t line = 0; line < a.size(); ++line) {
    unsigned diagonal = row[0];
    row[0] += change;
    for (std::size_t column = 0; column < b.size(); ++column) {
      const unsigned replaced = diagonal + replacement(a[line], b[column]);
      diagonal = row[column + 1];
      row[column + 1] = std::min({replaced, diagonal + change, row[column] + change});
    }
  }
  return row[b.size()];
}

}  // namespace

std::string_view nearest(std::string_view text, std::span<const std::string_view> known) noexcept {
  if (text.empty() || text.size() > longest) return {};
  const std::size_t most_changes = 1 + text.size() / 4;
  auto least = static_cast<unsigned>(most_changes * change + text.size() * slip / 2);
  std::string_view found;
  for (const std::string_view candidate : known) {
    const std::size_t longer = std::max(text.size(), candidate.size());
    if (longer > longest || longer - std::min(text.size(), candidate.size()) > most_changes)
      continue;
    const unsigned apart = distance(text, candidate);
    if (apart >= least) continue;
    least = apart;
    found = candidate;
  }
  return found;
}

}  // namespace ruvex
