#include "load_mapping.h"

#include <cstdint>
#include <vector>

#include "report/examine_lines.h"
#include "report/findings.h"
#include "report/refusal_findings.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"

namespace ruvex {
namespace {

// Reads the lines as the converter does and reports those that it refuses; false when there are
// such lines.
bool read_lines(const char* path, std::string_view content, unit_cfg*& list) {
  finding_settings settings;
  settings.is_ignored[static_cast<std::size_t>(rule::description_cut)] = true;
  finding_report report(settings);
  std::vector<finding> findings;
  refusal_findings refusals;
  unit_index units(list);
  point_reader reader(units);
  std::int64_t number = 0;
  const auto examine = [&](line_result got, std::string_view text) {
    findings.clear();
    line_findings found(++number, text, findings);
    if (add_refused_line(found, got)) return true;
    const mapping_line line = split_mapping_line(text);
    refusals.begin(found, line);
    reader.read(line, refusals);
    return true;
  };
  line_splitter lines(content, max_mapping_line);
  examine_lines(path, lines, report, findings, examine);
  return report.errors() == 0;
}

}  // namespace

yax_cfg_ptr load_mapping(const char* path, std::string_view content) {
  prepare_heap(path);
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  if (!read_lines(path, content, doc->unit_list)) return nullptr;
  return doc;
}

}  // namespace ruvex
