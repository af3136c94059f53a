#include "line_form.h"

#include <algorithm>
#include <vector>

#include "text/cells.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {
namespace {

std::size_t count_of(std::string_view text, char character) noexcept {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), character));
}

std::string_view without_line_end(std::string_view line) noexcept {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// A separator other than the comma that stands in the line more often than the comma does.
struct separator_row {
  char character;
  std::string_view name;
};
const separator_row* find_separator(std::string_view line) noexcept {
  static constexpr separator_row separators[] = {
      {';', "semicolons"}, {'\t', "TABs"}, {'|', "vertical bars"}};
  constexpr std::size_t telling = 3;
  const std::size_t commas = count_of(line, ',');
  for (const separator_row& row : separators) {
    if (count_of(line, row.character) >= std::max(telling, commas + 1)) return &row;
  }
  return nullptr;
}

// Whether a closer look at the cells is worth while.
bool check_count(line_findings& findings, std::string_view line, const mapping_line& fields) {
  if (fields.count > field_bit) return true;
  if (const separator_row* row = find_separator(line)) {
    findings.add(rule::wrong_separator, 1,
                 message("cells are separated by ", row->name,
                         ", not by commas; ruvexctl tidy changes that"));
    return false;
  }
  if (fields.count == 1) {
    findings.add(rule::one_field, 1, "the line has one field and adds nothing");
    return false;
  }
  findings.add(rule::few_fields, 1,
               message("the line has ", fields.count, " fields and adds no point; 11 to ",
                       max_mapping_fields, " are needed"));
  return true;
}

void check_carriage_returns(line_findings& findings, std::string_view line) {
  const std::size_t at = line.find('\r');
  if (at == std::string_view::npos) return;
  findings.add(rule::carriage_return, at + 1,
               "a carriage return ends no line here, what follows belongs to the same line");
}

std::string cell_name(std::size_t cell) {
  if (cell >= max_mapping_fields) return message("cell ", cell);
  return message("cell ", cell, " (", mapping_columns[cell].name, ")");
}

// What is wrong with a cell for the converter, to which a quote is a separator; nothing for most.
std::string_view flaw_of(const cell& cell) noexcept {
  if (cell.defect == cell_defect::unclosed_quote) return "begins with a quote that is not closed";
  if (cell.defect == cell_defect::text_behind_quote) return "has text behind its closing quote";
  const std::size_t at = cell.text.find_first_of(",\"");
  if (at == std::string::npos) return {};
  return cell.text[at] == ',' ? "holds a comma, which divides it"
                              : "holds a double quote, which divides it";
}

// Returns the cell up to which cells and fields are the same.
std::size_t check_cells(line_findings& findings, const std::vector<cell>& cells) {
  std::size_t used = cells.size();
  while (used > 0 && cells[used - 1].text.empty()) --used;
  std::size_t same = used;
  for (std::size_t number = used; number-- > 0;) {
    const cell& cell = cells[number];
    const std::string_view flaw = flaw_of(cell);
    if (!cell.text.empty() && flaw.empty()) continue;
    same = number;
    if (!flaw.empty()) {
      findings.add(rule::split_cell, cell.place.column, message(cell_name(number), " ", flaw));
    } else {
      findings.add(rule::empty_cell, cell.place.column,
                   message(cell_name(number), " is empty; what follows moves one place forward"));
    }
  }
  if (used > max_mapping_fields) {
    findings.add(
        rule::extra_cells, cells[max_mapping_fields].place.column,
        message("the line has ", used, " cells, and ", max_mapping_fields, " are used at most"));
  }
  if (used != cells.size()) {
    findings.add(rule::empty_end, cells[used].place.column,
                 message("the line ends with ", cells.size() - used, " empty cells"));
  }
  return same;
}

}  // namespace

std::size_t check_form(line_findings& findings, const mapping_line& fields) {
  const std::string_view line = without_line_end(findings.text());
  const bool has_cells = check_count(findings, line, fields);
  check_carriage_returns(findings, line);
  if (!has_cells) return fields.count;
  const bool is_plain = line.find('"') == std::string_view::npos;
  if (is_plain && count_of(line, ',') + 1 == fields.count) return fields.count;
  std::vector<cell> cells;
  row_reader(line, ',').next(cells);
  return std::min(fields.count, check_cells(findings, cells));
}

bool check_start(line_findings& findings) {
  const std::string_view line = findings.text();
  const bool is_marked = line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF");
  if (is_marked && line.find('\0') != std::string_view::npos) {
    findings.add(
        rule::utf_16, 1,
        "the file is UTF-16 text, of which ruvex can read nothing; save it as CSV UTF-8, or "
        "use ruvexctl tidy");
    return true;
  }
  if (line.starts_with(utf_8_mark)) {
    findings.add(rule::byte_order_mark, 1,
                 "the file begins with a byte-order mark, which becomes part of the first field");
  }
  return false;
}

}  // namespace ruvex
