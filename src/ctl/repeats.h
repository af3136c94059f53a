// Points of a file that are in each other's way: the same name, instance or register twice.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "ctl/line_findings.h"
#include "ctl/register_place.h"

namespace ruvex {

// Remembers the points of a file, a few hundred bytes for each, and finds those that repeat one
// from an earlier line.
class repeats {
 public:
  // Reports what a point repeats, and remembers it. Its records outlive this object.
  void check(line_findings& findings, const checked_point& point);

 private:
  using line_number = std::int64_t;

  struct object {
    std::string_view type;
    std::int64_t instance;
    bool operator==(const object&) const = default;
  };
  struct place {
    const unit_cfg* unit;
    register_class table;
    std::int32_t offset;
    bool operator==(const place&) const = default;
  };
  struct masked_place {
    place where;
    std::int64_t mask;
    bool operator==(const masked_place&) const = default;
  };
  struct hash {
    std::size_t operator()(const object& key) const noexcept;
    std::size_t operator()(const place& key) const noexcept;
    std::size_t operator()(const masked_place& key) const noexcept;
  };
  // The first points that begin at a register; 0 for none.
  struct starts {
    line_number any;
    line_number whole;  // without a mask
    line_number wide;   // of two registers
  };
  struct digits {
    std::size_t count;
    line_number line;
  };

  void check_name(line_findings& findings, const checked_point& point);
  void check_instance(line_findings& findings, const checked_point& point);
  void check_register(line_findings& findings, const checked_point& point);
  line_number find_overlap(const place& at, bool is_wide) const;
  void check_digits(line_findings& findings, const checked_point& point);

  std::unordered_map<std::string_view, line_number> names_;
  std::unordered_map<object, line_number, hash> objects_;
  std::unordered_map<place, starts, hash> places_;
  std::unordered_map<masked_place, line_number, hash> masked_places_;
  std::unordered_map<const unit_cfg*, digits> digits_;
};

}  // namespace ruvex
