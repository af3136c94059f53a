#include "load.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "input.h"
#include "report/examine_lines.h"
#include "report/findings.h"
#include "report/refusal_findings.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"
#include "text/characters.h"

namespace ruvex {
namespace {

// What makes a unit file the document that the reader takes.
constexpr std::string_view root_start = "<yax_cfg>";
constexpr std::string_view root_end = "</yax_cfg>";

std::string_view from(std::string_view text, std::size_t at) noexcept {
  text.remove_prefix(at < text.size() ? at : text.size());
  return text;
}

std::string_view behind_mark(std::string_view text) noexcept {
  return text.starts_with(utf_8_mark) ? from(text, utf_8_mark.size()) : text;
}

// The text behind its white space, comments and processing instructions.
std::string_view behind_misc(std::string_view text) noexcept {
  constexpr struct { std::string_view start, end; } skipped[] = {{"<!--", "-->"}, {"<?", "?>"}};
  while (true) {
    text = from(text, text.find_first_not_of(" \t\r\n"));
    std::size_t end = std::string_view::npos;
    for (const auto& markup : skipped) {
      if (!text.starts_with(markup.start)) continue;
      end = text.find(markup.end, markup.start.size());
      if (end != std::string_view::npos) end += markup.end.size();
    }
    if (end == std::string_view::npos) return text;
    text = from(text, end);
  }
}

bool is_xml(std::string_view text) noexcept {
  return from(text, text.find_first_not_of(" \t\r\n")).starts_with('<');
}

bool is_unit_file(std::string_view text) noexcept {
  constexpr std::string_view unit_start = "<unit_cfg";
  const std::string_view element = behind_misc(text);
  return element.starts_with(unit_start) && element.size() > unit_start.size() &&
         std::string_view(" \t\r\n/>").find(element[unit_start.size()]) != std::string_view::npos;
}

yax_cfg_ptr parse(const char* path, std::string_view document, bool is_whole) {
  if (document.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
    complain("%s: larger than 2 GB", path);
    return nullptr;
  }
  std::int32_t end = 0;
  yax_cfg_ptr doc(parse_xml_cfg(document.data(), static_cast<std::int32_t>(document.size()), &end));
  if (doc != nullptr) {
    const std::string_view rest = from(document, static_cast<std::size_t>(end));
    if ((is_whole ? behind_misc(rest) : rest).empty()) return doc;
    complain("%s: goes on behind its </yax_cfg>", path);
  }
  complain("%s: not readable as a configuration", path);
  return nullptr;
}

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

// The points of a mapping file's content, in a document without settings of its own. Null, after a
// message for every line that ruvex refuses.
yax_cfg_ptr load_mapping(const char* path, std::string_view content) {
  prepare_heap(path);
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  if (doc == nullptr) end_without_memory();
  if (!read_lines(path, content, doc->unit_list)) return nullptr;
  return doc;
}

}  // namespace

std::optional<loaded_file> load_file(const char* path) {
  std::optional<std::string> content = read_content(path);
  if (!content) return std::nullopt;
  const std::string_view given = behind_mark(*content);
  loaded_file loaded = {nullptr, false};
  if (!is_xml(given)) {
    loaded.doc = load_mapping(path, *content);
  } else if (is_unit_file(given)) {
    content->insert(0, root_start);
    content->append(root_end);
    loaded.doc = parse(path, *content, false);
  } else {
    loaded = {parse(path, given, true), true};
  }
  if (loaded.doc == nullptr) return std::nullopt;
  return loaded;
}

}  // namespace ruvex
