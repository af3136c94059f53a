// The texts that a field may hold, each list gathered once from the table that the converter and
// the controller use.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "foreign_texts.h"
#include "ruvex/cfg/tables.h"

namespace ruvex {

class known_texts {
 public:
  known_texts(text_kind kind, std::vector<std::string_view> texts);

  bool has(std::string_view text) const { return set_.count(text) != 0; }
  const std::vector<std::string_view>& texts() const noexcept { return texts_; }

  // What a text that is none of them is most likely meant to be, where the value stays what it is:
  // what lists are known to call it, or the nearest text that means the same. Of a value of two
  // registers without its word order, both. The answer to a text is kept: in a long list the same
  // mistake is made on many lines.
  suggestion suggest(std::string_view text);

 private:
  suggestion search(std::string_view text) const;
  suggestion in_both_orders(std::string_view text) const;

  text_kind kind_;
  std::vector<std::string_view> texts_;
  std::vector<std::string_view> candidates_;  // those, and those without their word order
  std::unordered_set<std::string_view> set_;
  std::unordered_map<std::string, suggestion> answers_;
};

known_texts& known_data_types();    // modbus_type
known_texts& known_object_types();  // chk_bac_type
known_texts& known_units();         // chk_bac_units

// The texts of an enumeration table.
known_texts& known_of(const chk_row* table);

}  // namespace ruvex
