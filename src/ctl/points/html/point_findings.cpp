#include "point_findings.h"

#include <algorithm>

#include "check/mapping_check.h"
#include "ruvex/mapping/line_reader.h"

namespace ruvex {

point_findings::point_findings(std::string_view content) {
  mapping_check check;
  line_splitter lines(content, max_mapping_line);
  std::string_view text;
  line_result got;
  const auto add_to = [&check](std::vector<finding>& list) {
    list.insert(list.end(), check.findings().begin(), check.findings().end());
  };
  while ((got = lines.next(text)) != line_result::end) {
    const std::int64_t before = check.points();
    check.check_line(got, text);
    if (got == line_result::too_long) lines.skip_line();
    add_to(check.points() == before ? others_ : of_points_);
  }
  check.finish();
  add_to(others_);
}

std::span<const finding> point_findings::of_line(std::int64_t line) const noexcept {
  return std::ranges::equal_range(of_points_, line, {}, &finding::line);
}

std::size_t point_findings::count(severity level) const noexcept {
  std::size_t sum = 0;
  for (const auto* list : {&of_points_, &others_}) {
    for (const finding& found : *list) sum += row_of(found.id).level == level ? 1 : 0;
  }
  return sum;
}

}  // namespace ruvex
