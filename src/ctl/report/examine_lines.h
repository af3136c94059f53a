// The lines of a mapping file, examined one after the other, with their findings reported.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "command.h"
#include "findings.h"
#include "progress.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

// Calls examine(result, line) for every line that `descriptor` gives and reports what it leaves in
// `list`, until it returns false or enough has been found. False, after a message, when the file,
// which is named `path` there, cannot be read to its end.
template <class Examine>
bool examine_lines(const char* path, int descriptor, finding_report& report,
                   const std::vector<finding>& list, Examine examine) {
  line_reader lines(descriptor, max_mapping_line);
  progress shown(path);
  std::string_view text;
  line_reader::result got;
  for (std::int64_t number = 1; (got = lines.next(text)) != line_reader::result::end; ++number) {
    const bool goes_on = examine(got, text);
    if (got == line_reader::result::too_long) lines.skip_line();
    for (const finding& finding : list) {
      if (report.prints(finding.id)) shown.hide();
      report.add(path, finding);
    }
    if (!goes_on || report.is_full()) break;
    shown.at(number);
  }
  shown.hide();
  report.flush();
  if (lines.error() != 0) complain("%s: %s", path, std::strerror(lines.error()));
  return lines.error() == 0;
}

}  // namespace ruvex
