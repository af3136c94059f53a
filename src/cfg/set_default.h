// Writing constant texts into settings.
#pragma once

#include <string_view>

#include "ruvex/cfg/tables.h"
#include "ruvex/cfg/text.h"

namespace ruvex {

// For texts that are known to fit.
template <std::size_t Size>
void set_default(text<Size>& setting, std::string_view characters) noexcept {
  static_cast<void>(setting.assign(characters));
}

// The text of a table's value. A value that the table lacks leaves the setting as it was.
template <std::size_t Size>
void set_default(text<Size>& setting, const chk_row* table, std::int32_t value) noexcept {
  if (const char* characters = enum_to_str(table, value)) set_default(setting, characters);
}

}  // namespace ruvex
