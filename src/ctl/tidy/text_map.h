// The words of a list and those that a mapping file has for them.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "sources.h"
#include "tally.h"

namespace ruvex {

struct mapped_text {
  std::string text;
  std::size_t line;  // where the map says so
};

// By the list's text, without blanks at its ends.
using text_map = std::map<std::string, mapped_text, std::less<>>;

// A map for each source that has one.
using source_maps = std::map<std::size_t, text_map>;

// Reads a map in UTF-8: each row has the list's text and the mapping file's, separated by what
// divides the rows into most cells. Nothing, after refusals or a complaint on standard error, where
// `path` names the map, when a row has not these two texts, when a text has two meanings, and when
// there is no row.
std::optional<text_map> parse_text_map(const char* path, std::string_view text);

// Puts the texts of the maps in the place of those of the list; they live as long as the maps. What
// a map does not have stays as it is.
void map_texts(const source_maps& maps, field_sources& sources) noexcept;

// Counts the texts of a row that its maps do not have; blanks are none.
void note_unmapped(const source_maps& maps, const field_sources& sources, tally& unmapped);

}  // namespace ruvex
