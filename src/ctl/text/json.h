// Texts in JSON (RFC 8259).
#pragma once

#include <string>
#include <string_view>

namespace ruvex {

// Appends the bytes to `out` as a JSON string, with its quotes. What is UTF-8 stays as it is, but
// for quote, backslash and control characters, which are escaped. A byte that belongs to no UTF-8
// character is written as \u00XX, XX being the byte, so that it is not lost.
void append_json(std::string& out, std::string_view bytes);

}  // namespace ruvex
