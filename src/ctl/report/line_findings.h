// One line under examination: what stands in it, what the converter makes of it, and the findings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "rules.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/rules.h"

namespace ruvex {

class line_findings {
 public:
  // The line `text`, which outlives the object.
  line_findings(std::int64_t number, std::string_view text, std::vector<finding>& list) noexcept
      : number_(number), text_(text), list_(list) {}

  // Notes what is wrong at `column`, counted from 1; `cause` is that of a finding about the file.
  void add(rule id, std::size_t column, std::string text, std::size_t cause = 0) {
    list_.push_back({id, number_, within(column), no_field, std::move(text), cause});
  }
  // Notes what is wrong with a field; `where` is a part of it and so of the line. A field that the
  // line lacks is missing at its end.
  void add(rule id, std::size_t field, std::string_view where, std::string text) {
    list_.push_back({id, number_, within(column_of(where)), field, std::move(text)});
  }

  // Whether a field has been noted for this rule.
  bool has(rule id, std::size_t field) const noexcept {
    for (const finding& noted : list_) {
      if (noted.id == id && noted.field == field) return true;
    }
    return false;
  }

  // Forgets what has been noted: one cause explains all of it.
  void clear() noexcept { list_.clear(); }

  std::int64_t number() const noexcept { return number_; }
  std::string_view text() const noexcept { return text_; }
  std::size_t column_of(std::string_view where) const noexcept {
    const char* const at = where.data() != nullptr ? where.data() : text_.data() + text_.size();
    return static_cast<std::size_t>(at - text_.data()) + 1;
  }

 private:
  // A column of the line: what is missing at its end is told at its last character.
  std::size_t within(std::size_t column) const noexcept {
    if (text_.empty()) return column;  // of a line that is too long
    const std::size_t end = text_.find_last_not_of("\r\n");
    const std::size_t last = end == std::string_view::npos ? 1 : end + 1;
    return column < last ? column : last;
  }

  std::int64_t number_;
  std::string_view text_;
  std::vector<finding>& list_;
};

// A point line with what the converter has read from it.
struct checked_point {
  const mapping_line& line;
  const chn_cfg& chn;
  const unit_cfg* unit;  // null where its field was refused
  register_class reg_class;
  bool is_bit;  // by its data type
};

}  // namespace ruvex
