#include "load.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "command.h"
#include "input.h"
#include "report/examine_lines.h"
#include "report/file_findings.h"
#include "report/findings.h"
#include "report/place_message.h"
#include "report/refusal_findings.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"
#include "text/file_kind.h"

namespace ruvex {
namespace {

yax_cfg_ptr refuse_xml(const char* path, const xml_read_report& report) {
  const auto line = static_cast<std::size_t>(report.line);
  print_message({path, line, line, 0, "error", report.reason.view()});
  return nullptr;
}

// Whether nothing but white space, comments and the like stands in `rest`.
bool is_misc(std::string_view rest) {
  if (rest.empty()) return true;
  xml_read_report report = {.prints = false};
  const auto units =
      parse_xml_unit_cfg(rest.data(), static_cast<std::int32_t>(rest.size()), &report);
  return units && *units == nullptr;
}

yax_cfg_ptr load_document(const char* path, std::string_view xml) {
  if (!is_readable_xml(path, xml)) return nullptr;
  const auto length = static_cast<std::int32_t>(xml.size());
  xml_read_report report = {.prints = false};
  std::int32_t end = 0;
  yax_cfg_ptr doc(parse_xml_cfg(xml.data(), length, &end, &report));
  if (doc == nullptr) return refuse_xml(path, report);
  if (is_misc(xml.substr(static_cast<std::size_t>(end)))) return doc;
  complain("%s: goes on behind its </yax_cfg>", path);
  return nullptr;
}

yax_cfg_ptr make_empty_document() {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  return doc;
}

yax_cfg_ptr load_unit_file(const char* path, std::string_view xml) {
  if (!is_readable_xml(path, xml)) return nullptr;
  const auto length = static_cast<std::int32_t>(xml.size());
  xml_read_report report = {.prints = false};
  auto units = parse_xml_unit_cfg(xml.data(), length, &report);
  if (!units) return refuse_xml(path, report);
  yax_cfg_ptr doc = make_empty_document();
  doc->unit_list = units->release();
  for (const unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) ++doc->unit_count;
  return doc;
}

void refuse_file(const char* path, const finding& what) {
  const finding_settings settings;
  finding_report(settings).add(path, what);
}

// Reads the lines as the converter does and reports those that it refuses; false when there are
// such lines.
bool read_lines(const char* path, std::string_view content, unit_cfg*& list, point_lines* lines) {
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
    if (add_refused_line(found, got)) return;
    const mapping_line line = split_mapping_line(text);
    refusals.begin(found, line);
    const point_result read = reader.read(line, refusals);
    if (lines != nullptr && read.is_added) lines->add(read.chn, number);
  };
  line_splitter splitter(content, max_mapping_line);
  examine_lines(path, splitter, report, findings, examine);
  return report.errors() == 0;
}

// The points of a mapping file's content, in a document without settings of its own. Null, after a
// message for every line that ruvex refuses.
yax_cfg_ptr load_mapping(const char* path, std::string_view content, point_lines* lines) {
  prepare_heap(path);
  yax_cfg_ptr doc = make_empty_document();
  if (!read_lines(path, content, doc->unit_list, lines)) return nullptr;
  if (lines != nullptr) lines->sort();
  return doc;
}

}  // namespace

std::optional<loaded_file> load_file(const char* path, file_source* source) {
  std::optional<std::string> content = read_content(path);
  if (!content) return std::nullopt;
  const std::string_view xml = behind_mark(*content);
  const file_kind kind = kind_of(*content);
  loaded_file loaded = {nullptr, kind == file_kind::document};
  switch (kind) {
    case file_kind::document:
      loaded.doc = load_document(path, xml);
      break;
    case file_kind::unit_file:
      loaded.doc = load_unit_file(path, xml);
      break;
    case file_kind::mapping:
    case file_kind::empty:
      loaded.doc = load_mapping(path, *content, source == nullptr ? nullptr : &source->lines);
      break;
    default:
      refuse_file(path, *file_finding(kind, *content));
      break;
  }
  if (loaded.doc == nullptr) return std::nullopt;
  if (source != nullptr) {
    source->content = std::move(*content);
    source->kind = kind;
  }
  return loaded;
}

}  // namespace ruvex
