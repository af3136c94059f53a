// Texts on their way into a page of HTML, which is XML as well.
#pragma once

#include <string>
#include <string_view>

#include "text/texts.h"

namespace ruvex {

// A text from outside. What would be markup in content or in an attribute is escaped; control
// characters and bytes that belong to no UTF-8 character become visible, as \xNN.
struct html_text {
  std::string_view text;
};

void append(std::string& out, const html_text& part);

// Appends markup and texts, one after the other.
template <class... Parts>
void append_all(std::string& out, const Parts&... parts) {
  (append(out, parts), ...);
}

// Appends "1 point", "2 points".
void append_count(std::string& out, std::size_t count, std::string_view what);

}  // namespace ruvex
