// What stands around the content of a page.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace ruvex {

// Appends the start of a page with this title, its heading included. `more_style` follows the style
// sheet that all pages have.
void append_page_start(std::string& out, std::string_view title, std::string_view more_style);

// What a colour of the boxes means: a class of the style sheet.
struct legend_entry {
  std::string_view style;
  std::string_view meaning;
};

void append_legend(std::string& out, std::span<const legend_entry> entries);

inline constexpr std::string_view page_end = "</body>\n</html>\n";

}  // namespace ruvex
