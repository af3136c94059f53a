// A mapping file, examined line by line with the converter's own reader.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

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

  // Examines the next line, as the line reader gave it. The result has its findings by column, and
  // is valid until the next line. False behind a line that makes the rest of the file meaningless.
  bool check_line(line_result got, std::string_view text);
  const std::vector<finding>& findings() const noexcept { return list_; }

  std::int64_t points() const noexcept { return points_; }

 private:
  void check_read_line(line_findings& findings);

  yax_cfg_ptr doc_;  // holds the units and outlives their index
  unit_index units_;
  point_reader reader_;
  repeats repeats_;
  std::vector<finding> list_;
  std::int64_t line_number_ = 0;
  std::int64_t points_ = 0;
  refusal_findings refusals_;
};

}  // namespace ruvex
