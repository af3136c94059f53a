#include "delimiter.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "text/cells.h"

namespace ruvex {
namespace {

// The median of the numbers of cells in the first rows that are not blank.
std::size_t usual_cells(std::string_view text, char delimiter) {
  constexpr std::size_t sample = 100;
  std::vector<std::size_t> counts;
  std::vector<cell> row;
  row_reader reader(text, delimiter);
  while (counts.size() < sample && reader.next(row)) {
    if (!is_blank_row(row)) counts.push_back(row.size());
  }
  if (counts.empty()) return 0;
  const auto median = counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
  std::nth_element(counts.begin(), median, counts.end());
  return *median;
}

}  // namespace

char find_delimiter(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
  std::size_t most = 0;
  char found = ',';
  for (const char delimiter : {',', ';', '\t', '|'}) {  // the earlier ones are preferred
    const std::size_t cells = usual_cells(text, delimiter);
    if (cells <= most) continue;
    most = cells;
    found = delimiter;
  }
  return found;
}

}  // namespace ruvex
