#include "cells.h"

#include <algorithm>
#include <utility>

#include "characters.h"

namespace ruvex {
namespace {

// The last one is U+FEFF: where two byte-order marks stand, the second is read as a blank.
constexpr std::string_view blanks[] = {" ", "\t", "\xC2\xA0", utf_8_mark};

// The length of a blank at the start of a text; 0 when there is none.
std::size_t blank_at_start(std::string_view text) noexcept {
  for (const std::string_view blank : blanks) {
    if (text.starts_with(blank)) return blank.size();
  }
  return 0;
}

std::size_t blank_at_end(std::string_view text) noexcept {
  for (const std::string_view blank : blanks) {
    if (text.ends_with(blank)) return blank.size();
  }
  return 0;
}

bool is_line_end(char character) noexcept {
  return character == '\n' || character == '\r';
}

bool is_blank(char character) noexcept {
  return character == ' ' || character == '\t';
}

}  // namespace

bool row_reader::next(std::vector<cell>& row) {
  row.clear();
  if (at_ == content_.size()) return false;
  while (true) {
    cell read = read_cell();
    if (row.size() < max_row_cells) {
      row.push_back(std::move(read));
    } else if (row.back().defect == cell_defect::none) {
      row.back().defect = cell_defect::too_many_cells;
      row.back().defect_place = read.place;
    }
    if (at_ == content_.size()) return true;
    if (content_[at_] != delimiter_) break;
    ++at_;
  }
  take_line_end();
  return true;
}

cell row_reader::read_cell() {
  cell read = {{}, here(), cell_defect::none, here()};
  if (at_ != content_.size() && content_[at_] == '"') {
    read_quoted(read);
  } else {
    read.text = take_plain();
  }
  return read;
}

void row_reader::read_quoted(cell& cell) {
  ++at_;
  while (true) {
    const std::size_t quote = std::min(content_.find('"', at_), content_.size());
    cell.text += content_.substr(at_, quote - at_);
    while (at_ != quote) {
      if (is_line_end(content_[at_])) {
        take_line_end();
      } else {
        ++at_;
      }
    }
    if (at_ == content_.size()) {
      cell.defect = cell_defect::unclosed_quote;
      return;
    }
    ++at_;
    if (at_ == content_.size() || content_[at_] != '"') break;
    cell.text += '"';
    ++at_;
  }
  read_behind_quote(cell);
}

void row_reader::read_behind_quote(cell& cell) {
  text_place place = here();
  const std::string_view behind = take_plain();
  const auto first = std::find_if_not(behind.begin(), behind.end(), is_blank);
  if (first == behind.end()) return;
  place.column += static_cast<std::size_t>(first - behind.begin());
  cell.text += behind;
  cell.defect = cell_defect::text_behind_quote;
  cell.defect_place = place;
}

// What stands before the next delimiter or line end.
std::string_view row_reader::take_plain() noexcept {
  const std::string_view rest = content_.substr(at_);
  const auto end = std::find_if(rest.begin(), rest.end(), [this](char character) {
    return character == delimiter_ || is_line_end(character);
  });
  const auto length = static_cast<std::size_t>(end - rest.begin());
  at_ += length;
  return rest.substr(0, length);
}

void row_reader::take_line_end() noexcept {
  const bool is_pair = content_.substr(at_, 2) == "\r\n";
  at_ += is_pair ? 2 : 1;
  ++line_;
  line_start_ = at_;
}

std::string_view without_blanks(std::string_view text) noexcept {
  while (const std::size_t length = blank_at_start(text)) text.remove_prefix(length);
  while (const std::size_t length = blank_at_end(text)) text.remove_suffix(length);
  return text;
}

bool is_blank_row(const std::vector<cell>& row) noexcept {
  return std::all_of(row.begin(), row.end(),
                     [](const cell& cell) { return without_blanks(cell.text).empty(); });
}

}  // namespace ruvex
