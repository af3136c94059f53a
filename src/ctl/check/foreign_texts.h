// What lists call data types, object types and engineering units that the controller knows under
// other names.
#pragma once

#include <optional>
#include <string_view>

namespace ruvex {

enum class text_kind { data_type, object_type, units, other };

// What is to be written in the place of a text.
struct suggestion {
  std::string_view meant;    // empty: nothing is known
  std::string_view or_else;  // the other word order of a value of two registers; mostly empty
  bool is_lacking = false;   // the text is understood, and the controller has none for it
};

// What a text of another system means. Nothing when it is none that is known. Blanks and degree
// signs do not count; the case of letters counts in units alone, where mW and MW are two.
std::optional<suggestion> find_foreign_text(text_kind kind, std::string_view text);

}  // namespace ruvex
