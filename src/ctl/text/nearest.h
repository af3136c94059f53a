// The nearest of the known texts, for those who misspelt it.
#pragma once

#include <span>
#include <string_view>

namespace ruvex {

// The known text that `text` is most likely meant to be: few characters apart, the case of letters
// and the kind of blanks ("_", "-", " ") counting less. Empty when none is near. The result is one
// of `known`.
std::string_view nearest(std::string_view text, std::span<const std::string_view> known) noexcept;

}  // namespace ruvex
