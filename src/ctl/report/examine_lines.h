// The lines of a mapping file, examined one after the other, with their findings reported.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "findings.h"
#include "progress.h"
#include "ruvex/mapping/line_reader.h"

namespace ruvex {

// Calls examine(result, line) for every line that `lines` gives, a line_reader or a line_splitter,
// and reports what it leaves in `list`, until enough has been found. `path` is how messages call
// the file.
template <class Lines, class Examine>
void examine_lines(const char* path, Lines& lines, finding_report& report,
                   const std::vector<finding>& list, Examine examine) {
  progress shown(path);
  std::string_view text;
  line_result got;
  for (std::int64_t number = 1; (got = lines.next(text)) != line_result::end; ++number) {
    examine(got, text);
    if (got == line_result::too_long) lines.skip_line();
    for (const finding& finding : list) {
      if (report.prints(finding.id)) shown.hide();
      report.add(path, finding);
    }
    if (report.is_full()) break;
    shown.at(number);
  }
  shown.hide();
  report.flush();
}

}  // namespace ruvex
