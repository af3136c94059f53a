#include "line_form.h"

#include <algorithm>
#include <vector>

#include "known_texts.h"
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

struct separator_row {
  char character;
  std::string_view name;
};
constexpr separator_row separators[] = {
    {';', "semicolons"}, {'\t', "TABs"}, {'|', "vertical bars"}};

// A separator other than the comma that stands in the line more often than the comma does, or at
// all where an earlier line has it.
const separator_row* find_separator(std::string_view line, char earlier) noexcept {
  constexpr std::size_t telling = 3;
  const std::size_t commas = count_of(line, ',');
  for (const separator_row& row : separators) {
    const std::size_t least = row.character == earlier ? 1 : std::max(telling, commas + 1);
    if (count_of(line, row.character) >= least) return &row;
  }
  return nullptr;
}

// The texts of a table, and where they belong.
struct anchor {
  mapping_field field;
  known_texts& (*known)();
  std::string_view kind;
};
constexpr anchor anchors[] = {
    {field_data_type, known_data_types, "data type"},
    {field_bac_type, known_object_types, "object type"},
    {field_bac_units, known_units, "engineering unit"},
};

// Whether a text of a table stands one place before its own, so that a column is missing.
bool check_columns(line_findings& findings, const mapping_line& fields) {
  for (const auto& [field, known, kind] : anchors) {
    if (field >= fields.count || known().has(fields.fields[field])) continue;
    const std::string_view before = fields.fields[field - 1];
    if (!known().has(before)) continue;
    findings.clear();
    findings.add(rule::missing_column, findings.column_of(before),
                 message("a column is missing before the ", kind, " ", quoted{before},
                         ", which stands in field ", field - 1, " and not in ",
                         static_cast<std::size_t>(field)),
                 field);
    return false;
  }
  return true;
}

void add_few_fields(line_findings& findings, const mapping_line& fields) {
  const std::string_view type = fields.fields[field_data_type];
  const bool lacks_bit = fields.count == field_bit && type.find("Bit") != type.npos;
  findings.add(rule::few_fields, 1,
               message("the line has ", fields.count, " fields and adds no point; 11 to ",
                       max_mapping_fields, " are needed",
                       lacks_bit ? ", and the bit number is missing" : ""),
               fields.count);
}

// The part of a line that ends before a carriage return: what follows is in no cell of its own.
std::string_view before_return(line_findings& findings, std::string_view line) {
  const std::size_t at = line.find('\r');
  if (at == std::string_view::npos) return line;
  findings.add(rule::carriage_return, at + 1,
               "a carriage return ends no line here, what follows belongs to the same line");
  return line.substr(0, at);
}

std::string cell_name(std::size_t cell) {
  if (cell >= max_mapping_fields) return message("cell ", cell);
  return message("cell ", cell, " (", mapping_columns[cell].name, ")");
}

// What is wrong with a cell for the converter, to which a quote is a separator; nothing for most.
std::string_view flaw_of(const cell& cell) noexcept {
  if (cell.defect == cell_defect::unclosed_quote)
    return "begins with a quote that its line does not close";
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
                   message(cell_name(number), " is empty; what follows moves one place forward"),
                   number);
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

// Whether a closer look at the cells is worth while.
bool line_forms::check_count(line_findings& findings, std::string_view line,
                             const mapping_line& fields) {
  if (fields.count > field_bit) return true;
  if (const separator_row* row = find_separator(line, separator_)) {
    separator_ = row->character;
    findings.clear();
    findings.add(rule::wrong_separator, 1,
                 message("cells are separated by ", row->name,
                         ", not by commas; ruvexctl tidy changes that"));
    return false;
  }
  if (fields.count == 1) {
    findings.add(rule::one_field, 1, "the line has one field and adds nothing");
    return false;
  }
  return true;
}

// Whether a line is the rest of a cell, and of its row, that an earlier line has begun. A line that
// is a point of its own is not.
bool line_forms::is_continued(std::string_view line, const mapping_line& fields) noexcept {
  if (!is_inside_cell_) return false;
  const std::size_t quote = line.find('"');
  const bool has_quote = quote != std::string_view::npos;
  is_inside_cell_ = !has_quote && fields.count <= field_bit;
  const bool ends_cell =
      has_quote && line.find(',') > quote && (quote + 1 == line.size() || line[quote + 1] == ',');
  return is_inside_cell_ || ends_cell;
}

std::size_t line_forms::check(line_findings& findings, const mapping_line& fields) {
  const std::string_view whole = without_line_end(findings.text());
  if (is_continued(whole, fields)) {
    findings.clear();
    return 0;
  }
  if (!check_count(findings, whole, fields)) return 0;
  const std::string_view line = before_return(findings, whole);
  const bool is_plain = line.size() == whole.size() && line.find('"') == std::string_view::npos;
  if (is_plain && count_of(line, ',') + 1 == fields.count) {
    if (fields.count <= field_bit) add_few_fields(findings, fields);
    return check_columns(findings, fields) ? fields.count : 0;
  }
  std::vector<cell> cells;
  row_reader(line, ',').next(cells);
  const bool is_cut = line != whole && !cells.empty();
  if (is_cut) cells.back().defect = cell_defect::none;  // its closing quote is not in sight
  is_inside_cell_ = !cells.empty() && cells.back().defect == cell_defect::unclosed_quote;
  std::size_t sound = std::min(fields.count, check_cells(findings, cells));
  if (fields.count <= field_bit && !is_inside_cell_) add_few_fields(findings, fields);
  if (is_cut) sound = std::min(sound, cells.size() - 1);
  return sound;
}

void check_start(line_findings& findings) {
  if (!findings.text().starts_with(utf_8_mark)) return;
  findings.add(rule::byte_order_mark, 1,
               "the file begins with a byte-order mark, which becomes part of the first field");
}

}  // namespace ruvex
