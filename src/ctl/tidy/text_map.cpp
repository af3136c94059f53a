#include "text_map.h"

#include <vector>

#include "command.h"
#include "delimiter.h"
#include "refusals.h"
#include "text/cells.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// Whether a row has its two texts and no third.
bool is_pair(const std::vector<cell>& row, refusals& refused) {
  if (row.size() < 2) {
    refused.add(row.front().place, "this row has one text; it needs two");
    return false;
  }
  for (std::size_t column = 0; column < row.size(); ++column) {
    if (without_blanks(row[column].text).empty() != (column < 2)) continue;
    refused.add(row[column].place, column < 2 ? "this text is blank" : "a third text");
    return false;
  }
  return true;
}

void add_pair(const std::vector<cell>& row, text_map& map, refusals& refused) {
  const std::string_view text = without_blanks(row[1].text);
  const auto [pair, is_new] = map.try_emplace(std::string(without_blanks(row[0].text)),
                                              mapped_text{std::string(text), row[0].place.line});
  const auto& [earlier, line] = pair->second;
  if (is_new || earlier == text) return;
  refused.add(row[0].place, "%s is %s here, and %s on line %zu",
              message(quoted{pair->first}).c_str(), message(quoted{text}).c_str(),
              message(quoted{earlier}).c_str(), line);
}

}  // namespace

std::optional<text_map> parse_text_map(const char* path, std::string_view text) {
  refusals refused(path);
  text_map map;
  std::vector<cell> row;
  for (row_reader reader(text, find_delimiter(text)); reader.next(row);) {
    if (refuse_defects(row, refused) || is_blank_row(row) || !is_pair(row, refused)) continue;
    add_pair(row, map, refused);
  }
  if (refused.count() != 0) return std::nullopt;
  if (!map.empty()) return map;
  complain("%s: no row has two texts", path);
  return std::nullopt;
}

void map_texts(const source_maps& maps, field_sources& sources) noexcept {
  for (const auto& [source, map] : maps) {
    const auto found = map.find(without_blanks(sources[source].text));
    if (found != map.end()) sources[source].text = found->second.text;
  }
}

void note_unmapped(const source_maps& maps, const field_sources& sources, tally& unmapped) {
  for (const auto& [source, map] : maps) {
    const std::string_view text = without_blanks(sources[source].text);
    if (text.empty() || map.contains(text) || unmapped.count++ != 0) continue;
    unmapped.place = sources[source].place;
    unmapped.what = message(quoted{text}, " in ", describe_source(source));
  }
}

}  // namespace ruvex
