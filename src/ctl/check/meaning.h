// Whether a suggestion leaves the value what it is.
#pragma once

#include <string_view>

namespace ruvex {

// Whether two texts of one kind agree in what changes a value: their digits, scale prefixes, times,
// signs, directions, word orders and first letter. What is misspelt in one of these words
// disagrees.
bool means_alike(std::string_view a, std::string_view b);

}  // namespace ruvex
