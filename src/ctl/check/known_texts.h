// The texts that a field may hold, each list gathered once from the table that the converter and
// the controller use.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ruvex/cfg/tables.h"

namespace ruvex {

class known_texts {
 public:
  explicit known_texts(std::vector<std::string_view> texts)
      : texts_(std::move(texts)), set_(texts_.begin(), texts_.end()) {}

  bool has(std::string_view text) const { return set_.count(text) != 0; }
  const std::vector<std::string_view>& texts() const noexcept { return texts_; }

  // The one that a text that is none of them is most likely meant to be; empty when none is near.
  // The answer to a text is kept: in a long list the same mistake is made on many lines.
  std::string_view nearest_to(std::string_view text);

 private:
  std::vector<std::string_view> texts_;
  std::unordered_set<std::string_view> set_;
  std::unordered_map<std::string, std::string_view> answers_;
};

known_texts& known_data_types();    // modbus_type
known_texts& known_object_types();  // chk_bac_type
known_texts& known_units();         // chk_bac_units

// The texts of an enumeration table.
known_texts& known_of(const chk_row* table);

}  // namespace ruvex
