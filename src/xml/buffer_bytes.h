// Appending to a value buffer what may hold NULs.
#pragma once

#include <string_view>

namespace ruvex {

struct SimpleXmlValueBuffer;

// Appends all of `bytes`; or none, and false, when memory has run out or `buffer` is null.
bool append_bytes(SimpleXmlValueBuffer* buffer, std::string_view bytes) noexcept;

}  // namespace ruvex
