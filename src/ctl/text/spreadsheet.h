// What a spreadsheet program leaves in a cell that it could not fill or show.
#pragma once

#include <string_view>

namespace ruvex {

// Whether a text stands for a formula that could not be worked out, in any language: "#REF!",
// "#NAME?", "#N/A". Blanks around it do not count.
bool is_error_value(std::string_view text) noexcept;

// What is wrong with a text that is an error value, a row of "#" for a number that its column was
// too narrow for, or a number that was shortened to "4.00E+04", as the end of a sentence about it.
// Empty for any other text.
std::string_view spreadsheet_defect(std::string_view text) noexcept;

}  // namespace ruvex
