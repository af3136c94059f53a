// What stands around the content of a page.
#pragma once

#include <string>
#include <string_view>

namespace ruvex {

// Appends the start of a page with this title, its heading included. `more_style` follows the style
// sheet that all pages have.
void append_page_start(std::string& out, std::string_view title, std::string_view more_style);

inline constexpr std::string_view page_end = "</body>\n</html>\n";

}  // namespace ruvex
