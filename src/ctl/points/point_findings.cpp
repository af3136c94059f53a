#include "point_findings.h"

#include <algorithm>

#include "check/document_check.h"
#include "check/mapping_check.h"
#include "ruvex/mapping/line_reader.h"

namespace ruvex {

point_findings::point_findings(const file_source& source) : source_(source) {
  if (source.kind == file_kind::mapping) examine_mapping();
  if (source.kind == file_kind::document || source.kind == file_kind::unit_file) {
    examine_document();
  }
}

void point_findings::add(const std::vector<finding>& found, std::optional<std::int64_t> key) {
  std::vector<finding>& list = key ? of_points_ : others_;
  list.insert(list.end(), found.begin(), found.end());
  if (key) keys_.resize(list.size(), *key);
}

// None of its lines is too long, or it would not have been loaded.
void point_findings::examine_mapping() {
  mapping_check check;
  line_splitter lines(source_.content, max_mapping_line);
  std::string_view text;
  line_result got;
  for (std::int64_t line = 1; (got = lines.next(text)) != line_result::end; ++line) {
    const std::int64_t before = check.points();
    check.check_line(got, text);
    const bool is_point = check.points() != before;
    add(check.findings(), is_point ? std::optional(line) : std::nullopt);
  }
  check.finish();
  add(check.findings(), std::nullopt);
}

void point_findings::examine_document() {
  document_check check(source_.content, source_.kind);
  while (check.next()) {
    const bool is_point = check.is_of_channel();
    add(check.findings(), is_point ? std::optional(check.points() - 1) : std::nullopt);
  }
}

std::span<const finding> point_findings::of_point(const chn_cfg& chn,
                                                  std::size_t number) const noexcept {
  const bool is_mapping = source_.kind == file_kind::mapping;
  const auto key = is_mapping ? source_.lines.line_of(chn) : static_cast<std::int64_t>(number);
  const auto [from, end] = std::equal_range(keys_.begin(), keys_.end(), key);
  return {of_points_.data() + (from - keys_.begin()), static_cast<std::size_t>(end - from)};
}

std::size_t point_findings::count(severity level) const noexcept {
  std::size_t sum = 0;
  for (const auto* list : {&of_points_, &others_}) {
    for (const finding& found : *list) sum += row_of(found.id).level == level ? 1 : 0;
  }
  return sum;
}

}  // namespace ruvex
