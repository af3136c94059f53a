// What `ruvexctl check` says against what the converter does with the same bytes. Where it finds no
// error, the mapping is converted, every line with a field gives its point, and the units are
// well-formed XML; where the conversion ends early, it has an error on that line.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#ifdef RUVEX_WITH_EXPAT
#include <expat.h>
#endif

#include "check/mapping_check.h"
#include "memory_file.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/converter/mapping_reader.h"

namespace ruvex {
namespace {

struct verdict {
  bool has_errors = false;
  std::int64_t refused_line = 0;
  std::int64_t points = 0;
};

void add(verdict& found, const std::vector<finding>& findings, std::size_t longest) {
  for (const finding& finding : findings) {
    require(finding.column >= 1 && finding.column <= std::max<std::size_t>(longest, 1),
            "a column lies within the line");
    require(!finding.text.empty(), "a finding has a text");
    found.has_errors = found.has_errors || row_of(finding.id).level == severity::error;
  }
}

verdict check(const memory_file& csv, std::size_t size) {
  verdict found;
  const int descriptor = ::open(csv.path(), O_RDONLY);
  mapping_check check;
  line_reader lines(descriptor, max_mapping_line);
  std::string_view text;
  line_result got;
  while ((got = lines.next(text)) != line_result::end) {
    check.check_line(got, text);
    const std::size_t length = got == line_result::too_long ? size : text.size();
    if (got == line_result::too_long) lines.skip_line();
    add(found, check.findings(), length);
  }
  ::close(descriptor);
  check.finish();
  add(found, check.findings(), size);
  found.points = check.points();
  found.refused_line = check.refused_line();
  return found;
}

// How many lines the shortest beginning of the mapping has that cannot be converted.
std::int64_t failing_line(std::string_view bytes) {
  for (std::size_t at = 0, number = 1;; ++number) {
    at = std::min(bytes.find('\n', at), bytes.size() - 1) + 1;
    const memory_file start;
    start.write(reinterpret_cast<const std::uint8_t*>(bytes.data()), at);
    if (read_csv_file(start.path()) != csv_read) return static_cast<std::int64_t>(number);
    require(at < bytes.size(), "what fails as a whole fails at some line");
  }
}

std::int64_t lines_with_fields(std::string_view bytes) {
  std::int64_t count = 0;
  bool has_field = false;
  for (const char character : bytes) {
    if (std::strchr(",\"\r\n", character) == nullptr || character == '\0') has_field = true;
    if (character != '\n') continue;
    count += has_field;
    has_field = false;
  }
  return count + has_field;
}

bool is_well_formed(const std::string& units) {
#ifdef RUVEX_WITH_EXPAT
  const std::string document = "<yax_cfg>" + units + "</yax_cfg>";
  XML_Parser parser = XML_ParserCreate(nullptr);
  const XML_Status status =
      XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE);
  XML_ParserFree(parser);
  return status == XML_STATUS_OK;
#else
  static_cast<void>(units);
  return true;
#endif
}

std::int64_t channels() {
  std::int64_t count = 0;
  for (const unit_cfg* unit = modUnits; unit != nullptr; unit = unit->next)
    count += unit->chn_count;
  return count;
}

void run(const std::uint8_t* data, std::size_t size) {
  const memory_file csv;
  csv.write(data, size);
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const verdict found = check(csv, size);
  const int result = read_csv_file(csv.path());
  if (result != csv_read) {
    require(found.has_errors, "what fails has an error");
    require(found.refused_line == failing_line(bytes), "the line that fails is told");
  } else if (!found.has_errors) {
    require(found.refused_line == 0, "no line is refused");
    require(channels() == found.points, "the points are counted");
    require(found.points == lines_with_fields(bytes), "no line is lost");
    const memory_file xml;
    print_tag(nullptr, 0, print_reset, nullptr);
    require(write_xml_unit_cfg(modUnits, xml.path()) == 0 && xml_write_error == 0, "it is written");
    require(is_well_formed(xml.content()), "the units are well-formed XML");
  }
  free_units();
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool quiet = std::freopen("/dev/null", "w", stdout) != nullptr;
  if (quiet) ruvex::run(data, size);
  return 0;
}
