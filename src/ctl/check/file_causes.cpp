#include "file_causes.h"

#include <algorithm>
#include <utility>

#include "text/texts.h"

namespace ruvex {
namespace {

bool is_about_file(const finding& found) noexcept {
  return row_of(found.id).about == scope::file;
}

}  // namespace

void file_causes::take_from(std::vector<finding>& line) {
  if (std::ranges::none_of(line, is_about_file)) return;
  for (finding& found : line) {
    if (is_about_file(found)) count(std::move(found));
  }
  std::erase_if(line, is_about_file);
}

void file_causes::count(finding&& found) {
  const auto same = std::ranges::find_if(found_, [&found](const counted& other) {
    return other.first.id == found.id && other.first.cause == found.cause;
  });
  if (same == found_.end()) {
    const std::int64_t line = found.line;
    found_.push_back({std::move(found), line, 1});
  } else if (same->last_line != found.line) {
    same->last_line = found.line;
    ++same->lines;
  }
}

void file_causes::finish(std::vector<finding>& list) {
  for (counted& found : found_) {
    append_lines(found.first.text, found.lines);
    list.push_back(std::move(found.first));
  }
  found_.clear();
}

void append_lines(std::string& text, std::int64_t lines) {
  if (lines > 1) text += message(" (the first of ", lines, " lines)");
}

}  // namespace ruvex
