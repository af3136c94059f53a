// A mapping file, examined line by line with the converter's own reader.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "file_causes.h"
#include "line_form.h"
#include "repeats.h"
#include "report/findings.h"
#include "report/line_findings.h"
#include "report/refusal_findings.h"
#include "ruvex/cfg/edit.h"
#include "ruvex/mapping/line_reader.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/unit_index.h"

namespace ruvex {

class mapping_check {
 public:
  mapping_check() noexcept;
  mapping_check(const mapping_check&) = delete;
  mapping_check& operator=(const mapping_check&) = delete;

  // Examines the next line, as the line reader gave it.
  void check_line(line_result got, std::string_view text);

  // Ends the examination of a file that has been read to its end.
  void finish();

  // After a line its own findings, by column; after the end those about the file, by line. Valid
  // until the next call of the two.
  const std::vector<finding>& findings() const noexcept { return list_; }

  std::int64_t points() const noexcept { return points_; }

  // The first line that ruvex refuses, where it would stop; 0 while there is none.
  std::int64_t refused_line() const noexcept { return refused_line_; }

 private:
  void check_read_line(line_findings& findings);
  void note_refused() noexcept;

  yax_cfg_ptr doc_;  // holds the units and outlives their index
  unit_index units_;
  point_reader reader_;
  line_forms forms_;
  repeats repeats_;
  file_causes causes_;
  std::vector<finding> list_;
  std::int64_t line_number_ = 0;
  std::int64_t points_ = 0;
  std::int64_t refused_line_ = 0;
  refusal_findings refusals_;
};

}  // namespace ruvex
