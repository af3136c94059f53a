// What `ruvexctl check` says of XML against what the reader makes of the same bytes. Where it finds
// no fault of the XML, the reader takes the file with as many channels; each finding stands in the
// file.

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "check/document_check.h"
#include "report/file_findings.h"
#include "require.h"
#include "ruvex/cfg/xml_reader.h"

namespace ruvex {
namespace {

struct verdict {
  bool is_refused = false;
  std::int64_t points = 0;
};

verdict check(std::string_view content, file_kind kind) {
  const auto lines = std::count(content.begin(), content.end(), '\n') +
                     std::count(content.begin(), content.end(), '\r') + 1;
  document_check check(content, kind);
  verdict found;
  while (check.next()) {
    for (const finding& finding : check.findings()) {
      require(finding.line >= 1 && finding.line <= lines, "a line lies in the file");
      require(finding.column >= 1 && finding.column <= content.size() + 1, "so does a column");
      require(!finding.text.empty(), "a finding has a text");
      found.is_refused = found.is_refused || finding.id == rule::xml;
    }
  }
  found.points = check.points();
  return found;
}

std::int64_t channels(const unit_cfg* unit) {
  std::int64_t count = 0;
  for (; unit != nullptr; unit = unit->next) count += unit->chn_count;
  return count;
}

// The channels that the reader gives; -1 where it refuses the file.
std::int64_t read(std::string_view content, file_kind kind) {
  const auto length = static_cast<std::int32_t>(content.size());
  xml_read_report report = {.prints = false};
  if (kind == file_kind::unit_file) {
    const auto units = parse_xml_unit_cfg(content.data(), length, &report);
    return units ? channels(units->get()) : -1;
  }
  const yax_cfg_ptr doc(parse_xml_cfg(content.data(), length, nullptr, &report));
  return doc != nullptr ? channels(doc->unit_list) : -1;
}

void run(std::string_view content) {
  const file_kind kind = kind_of(content);
  const bool is_list = kind == file_kind::mapping;
  const bool is_xml = kind == file_kind::unit_file || kind == file_kind::document;
  require(file_finding(kind, content).has_value() == (!is_list && !is_xml), "others are findings");
  if (!is_xml) return;
  const verdict found = check(content, kind);
  const std::int64_t points = read(content, kind);
  require(found.is_refused == (points < 0), "what the reader refuses is found");
  require(found.is_refused || found.points == points, "every channel is examined");
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ruvex::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
