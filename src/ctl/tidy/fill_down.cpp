#include "fill_down.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "text/cells.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr std::size_t fillable_sources[] = {
    field_unit, field_data_type, field_bac_type, field_bac_units, table_source,
};

}  // namespace

std::optional<source_set> parse_fill(std::string_view list) noexcept {
  source_set chosen;
  while (true) {
    const std::size_t comma = list.find(',');
    const std::optional<std::size_t> source = find_source(list.substr(0, comma));
    if (!source || std::ranges::find(fillable_sources, *source) == std::end(fillable_sources)) {
      return std::nullopt;
    }
    chosen.set(*source);
    if (comma == list.npos) return chosen;
    list.remove_prefix(comma + 1);
  }
}

void fill_down::put(field_sources& sources) {
  for (const std::size_t source : fillable_sources) {
    if (!chosen_.test(source)) continue;
    field_source& filled = sources[source];
    std::string& above = above_[source];
    if (!without_blanks(filled.text).empty()) {
      above = without_blanks(filled.text);
    } else if (!above.empty()) {
      if (filled_.count++ == 0) {
        filled_.place = filled.place;
        filled_.what = message(describe_source(source), " with ", quoted{above});
      }
      filled.text = above;
    }
  }
}

}  // namespace ruvex
