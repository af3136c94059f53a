// The lines of a mapping file that ruvex refuses, as findings.
#pragma once

#include <cstddef>

#include "line_findings.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"

namespace ruvex {

// Adds the finding of a line that ruvex refuses before it looks at the fields: one that is too long
// or holds a NUL byte. Whether it is one.
bool add_refused_line(line_findings& findings, line_result got);

// Reports the lines that the converter refuses, and has it go on with them.
class refusal_findings final : public point_listener {
 public:
  // The line that is read next; both outlive its reading.
  void begin(line_findings& findings, const mapping_line& line) noexcept {
    findings_ = &findings;
    line_ = &line;
  }

  bool refused(csv_result reason, std::size_t field) noexcept override;
  void description_cut() noexcept override;

 private:
  line_findings* findings_ = nullptr;
  const mapping_line* line_ = nullptr;
};

// Ends the run for want of memory, as operator new does.
[[noreturn]] void end_without_memory() noexcept;

}  // namespace ruvex
