// Points of a file that are in each other's way: the same name, instance or register twice.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "number_table.h"
#include "report/line_findings.h"

namespace ruvex {

// Remembers the points of a file, a few hundred bytes for each, and finds those that repeat one
// from an earlier line.
class repeats {
 public:
  // Reports what a point repeats, and remembers it. Its records outlive this object.
  void check(line_findings& findings, const checked_point& point);

 private:
  using line_number = std::int64_t;  // 0: none

  // The first points that begin at a register.
  struct starts {
    line_number any;
    line_number whole;  // without a mask
    line_number wide;   // of two registers
  };
  struct unit_state {
    std::uint64_t number;  // of the unit among those of the file
    std::size_t digits;    // of its first register reference; 0 while it has none
    line_number line;      // that of the reference
  };

  void check_name(line_findings& findings, const checked_point& point);
  void check_instance(line_findings& findings, const checked_point& point);
  void check_register(line_findings& findings, const checked_point& point, const unit_state& unit);
  line_number find_overlap(std::uint64_t place, std::int32_t offset, bool is_wide) const;
  void check_digits(line_findings& findings, const checked_point& point, unit_state& unit);

  std::unordered_map<std::string_view, line_number> names_;
  std::unordered_map<std::string_view, std::uint64_t> object_types_;  // numbered as they come
  number_table<line_number> objects_;
  number_table<starts> places_;
  number_table<line_number> bits_;
  std::unordered_map<const unit_cfg*, unit_state> units_;
};

}  // namespace ruvex
