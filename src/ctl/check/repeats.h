// Points of a file that are in each other's way: the same name, instance or register twice.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "number_table.h"
#include "report/line_findings.h"

namespace ruvex {

// Remembers the points of a file, a few hundred bytes for each, and finds those that repeat one
// from an earlier line.
class repeats {
 public:
  // Reports what a point repeats, and remembers it. Its records outlive this object.
  void check(line_findings& findings, const checked_point& point);

  // Appends to `list` what is known when every point has been seen: for each unit the form of
  // references that fewer of its points have.
  void finish(std::vector<finding>& list) const;

 private:
  using line_number = std::int64_t;  // 0: none

  // The first points that begin at a register.
  struct starts {
    line_number any;
    line_number whole;  // without a mask
    line_number wide;   // of two registers
  };
  // The references of a unit with as many digits, and the first of them.
  struct references {
    std::int64_t count = 0;
    line_number line = 0;
    std::size_t column = 0;
    std::string_view text;
  };
  struct unit_state {
    std::uint64_t number;  // of the unit among those of the file
    references of_five = {};
    references of_six = {};
  };

  void check_name(line_findings& findings, const checked_point& point);
  void check_instance(line_findings& findings, const checked_point& point);
  void check_register(line_findings& findings, const checked_point& point, const unit_state& unit);
  line_number find_overlap(std::uint64_t place, std::int32_t offset, bool is_wide) const;
  static void count_digits(const line_findings& findings, const checked_point& point,
                           unit_state& unit);

  std::unordered_map<std::string_view, line_number> names_;
  std::unordered_map<std::string_view, std::uint64_t> object_types_;  // numbered as they come
  number_table<line_number> objects_;
  number_table<starts> places_;
  number_table<line_number> bits_;
  std::unordered_map<const unit_cfg*, unit_state> units_;
};

}  // namespace ruvex
