#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ctl/cells.h"
#include "ctl/columns.h"
#include "ctl/command.h"
#include "ctl/encoding.h"
#include "ctl/input.h"
#include "ctl/refusals.h"
#include "ctl/strict_form.h"
#include "ctl/texts.h"

namespace ruvex {
namespace {

struct tidy_settings {
  std::optional<char> delimiter;
  text_encoding encoding = text_encoding::automatic;
  std::optional<unsigned long> skip;
  column_list columns;
};

constexpr choice<std::optional<char>> delimiters[] = {
    // The automatic choice prefers the earlier ones.
    {"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}, {"pipe", '|'}, {"auto", std::nullopt},
};

constexpr choice<text_encoding> encodings[] = {
    {"auto", text_encoding::automatic},
    {"utf-8", text_encoding::utf8},
    {"utf-16", text_encoding::utf16},
    {"latin1", text_encoding::latin1},
};

bool take_delimiter(tidy_settings& settings, std::string_view text) {
  if (choose(delimiters, text, settings.delimiter)) return true;
  const bool is_ascii = text.size() == 1 && static_cast<unsigned char>(text.front()) < 0x80;
  if (!is_ascii || text.find_first_of("\"\r\n") != std::string_view::npos) return false;
  settings.delimiter = text.front();
  return true;
}

constexpr option_row<tidy_settings> option_rows[] = {
    {"delimiter", true, take_delimiter},
    {"encoding", true,
     [](tidy_settings& settings, std::string_view text) {
       return choose(encodings, text, settings.encoding);
     }},
    {"skip", true,
     [](tidy_settings& settings, std::string_view text) {
       unsigned long count = 0;
       if (!parse_number(text, 1'000'000'000, count)) return false;
       settings.skip = count;
       return true;
     }},
    {"columns", true,
     [](tidy_settings& settings, std::string_view text) { return settings.columns.parse(text); }},
};

// The median of the numbers of cells in the first rows that are not blank.
std::size_t usual_cells(std::string_view text, char delimiter) {
  constexpr std::size_t sample = 100;
  std::vector<std::size_t> counts;
  std::vector<cell> row;
  row_reader reader(text, delimiter);
  while (counts.size() < sample && reader.next(row)) {
    if (!is_blank_row(row)) counts.push_back(row.size());
  }
  if (counts.empty()) return 0;
  const auto median = counts.begin() + static_cast<std::ptrdiff_t>(counts.size() / 2);
  std::nth_element(counts.begin(), median, counts.end());
  return *median;
}

char find_delimiter(std::string_view text) {
  std::size_t most = 0;
  char found = ',';
  for (const auto& [name, delimiter] : delimiters) {
    const std::size_t cells = delimiter ? usual_cells(text, *delimiter) : 0;
    if (cells <= most) continue;
    most = cells;
    found = *delimiter;
  }
  return found;
}

// Takes up to `count` lines off the start of `text`; gives how many there were.
std::size_t skip_lines(std::string_view& text, unsigned long count) noexcept {
  std::size_t skipped = 0;
  for (; skipped < count && !text.empty(); ++skipped) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    text.remove_prefix(end);
    text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min<std::size_t>(text.size(), 1));
  }
  return skipped;
}

bool is_blank(std::string_view text) noexcept {
  return without_blanks(text).empty();
}

constexpr const char* defect_messages[] = {
    "",  // none
    "this quote is not closed",
    "text behind a closing quote",
    "more cells than a row of a spreadsheet has",
};

// Turns the rows of one file into mapping lines.
class sheet_tidier {
 public:
  sheet_tidier(const char* path, const tidy_settings& settings) noexcept
      : path_(path), settings_(settings), refused_(path), has_begun_(settings.skip.has_value()) {}

  // The mapping lines of `text`; nothing, after messages, when there are none or not all of its
  // points can be told in them.
  std::optional<std::string> tidy(std::string_view text);

 private:
  void take(const std::vector<cell>& row);
  bool refuse_defects(const std::vector<cell>& row) noexcept;
  bool refuse_surplus(const std::vector<cell>& row) noexcept;
  void note_header(const std::vector<cell>& row) noexcept;
  void tell_header() const noexcept;

  const char* path_;
  const tidy_settings& settings_;
  refusals refused_;
  const strict_form form_;
  std::string lines_;
  bool has_begun_;  // points may come
  std::size_t widest_ = 0;
  std::size_t header_first_ = 0;
  std::size_t header_last_ = 0;
};

std::optional<std::string> sheet_tidier::tidy(std::string_view text) {
  const std::size_t skipped = skip_lines(text, settings_.skip.value_or(0));
  const char delimiter = settings_.delimiter ? *settings_.delimiter : find_delimiter(text);
  row_reader reader(text, delimiter, skipped + 1);
  std::vector<cell> row;
  while (reader.next(row)) take(row);
  if (!has_begun_) tell_header();
  if (const std::size_t column = settings_.columns.largest_chosen(); column > widest_) {
    complain("%s: no row has a column %zu", path_, column);
    return std::nullopt;
  }
  if (refused_.count() != 0) return std::nullopt;
  if (!lines_.empty()) return std::move(lines_);
  complain("%s: no row has a unit and a reference with digits; see --delimiter and --columns",
           path_);
  return std::nullopt;
}

void sheet_tidier::take(const std::vector<cell>& row) {
  widest_ = std::max(widest_, row.size());
  if (refuse_defects(row)) return;
  const field_sources sources = settings_.columns.select(row);
  const std::string_view unit = sources[field_unit].text;
  const std::string_view reference = sources[field_reference].text;
  if (!has_begun_) {
    if (!has_digit(unit) || !has_digit(reference)) return note_header(row);
    tell_header();
    has_begun_ = true;
  }
  const text_place place = row.front().place;
  if (!is_blank(unit) || !is_blank(reference)) {
    if (!refuse_surplus(row)) form_.append_line(sources, place, refused_, lines_);
  } else if (!is_blank_row(row)) {
    std::fprintf(stderr, "%s:%zu: left out: no unit and no reference\n", path_, place.line);
  }
}

bool sheet_tidier::refuse_defects(const std::vector<cell>& row) noexcept {
  const std::size_t refused_before = refused_.count();
  for (const cell& cell : row) {
    if (cell.defect == cell_defect::none) continue;
    refused_.add(cell.defect_place, "%s", defect_messages[static_cast<std::size_t>(cell.defect)]);
  }
  return refused_.count() != refused_before;
}

// Columns that nobody has chosen must not go unnoticed.
bool sheet_tidier::refuse_surplus(const std::vector<cell>& row) noexcept {
  if (settings_.columns.is_chosen()) return false;
  std::size_t used = row.size();
  while (used > max_mapping_fields && is_blank(row[used - 1].text)) --used;
  if (used <= max_mapping_fields) return false;
  refused_.add(row[max_mapping_fields].place, "%zu cells; choose %zu of them with --columns", used,
               max_mapping_fields);
  return true;
}

void sheet_tidier::note_header(const std::vector<cell>& row) noexcept {
  if (is_blank_row(row)) return;
  header_last_ = row.front().place.line;
  if (header_first_ == 0) header_first_ = header_last_;
}

void sheet_tidier::tell_header() const noexcept {
  if (header_first_ == 0) return;
  std::fprintf(stderr, "%s:%zu", path_, header_first_);
  if (header_last_ != header_first_) std::fprintf(stderr, "-%zu", header_last_);
  std::fputs(": left out: header\n", stderr);
}

std::optional<std::string> read_text(const char* path, text_encoding encoding) {
  std::optional<std::string> content = read_content(path);
  if (!content) return std::nullopt;
  decoded_text decoded = decode_text(std::move(*content), encoding);
  if (decoded.defect != nullptr) {
    refusals(path).add(decoded.place, "%s; see --encoding", decoded.defect);
    return std::nullopt;
  }
  if (encoding == text_encoding::automatic && decoded.encoding == text_encoding::latin1) {
    complain("%s: taken as Latin-1", path);
  }
  return std::move(decoded.text);
}

int run_tidy(int argc, char** argv) {
  tidy_settings settings;
  const std::optional<int> status = read_options(tidy_command, argc, argv, option_rows, settings);
  if (status) return *status;
  if (operands(argc, argv).size() != 1) return refuse_use(tidy_command, "one file is needed");
  const char* const path = operands(argc, argv).front();
  const std::optional<std::string> text = read_text(path, settings.encoding);
  if (!text) return ctl_trouble;
  const std::optional<std::string> lines = sheet_tidier(path, settings).tidy(*text);
  if (!lines) return ctl_trouble;
  std::fwrite(lines->data(), 1, lines->size(), stdout);
  return finish_output(ctl_clean);
}

}  // namespace

const command tidy_command = {
    "tidy", "ruvexctl tidy", "[OPTION]... FILE",
    R"(Turn the spreadsheet export FILE into a mapping file on standard output.

Each line of the output has 17 cells separated by commas, none of them empty,
without quotes and without blanks around a cell. Only the form changes. What a
mapping file cannot hold, such as a comma in a name, is refused with its line
and column (which count from 1; columns are bytes, in UTF-8); then there is no
output. What is left out is told on standard error.

  --delimiter=C     what separates the cells of FILE: one character, or tab,
                    comma, semicolon, pipe; auto (the default) takes the one
                    of these four that gives the most cells
  --encoding=NAME   utf-8, utf-16, latin1; auto (the default) tells them apart
  --skip=N          leave out the first N lines; by default the lines before
                    the first with a digit in both its unit and its reference
  --columns=LIST    the columns that become the fields 0 to 16, by default the
                    first 17; entries are separated by commas:
                      N      column N, from 1
                      N-M    columns N to M
                      -      nothing, and so are entries that are missing
                      =TEXT  TEXT in every line
      --help        print this help
      --version     print the version

Later rows without a unit and a reference are left out. A blank cell gets the
text that keeps the default. A decimal comma in a COV increment or a scale
becomes a point; 1,500 is refused, as it may be 1.5 or 1500. In the label,
which is not used, commas, quotes and line ends become blanks. A FILE that is
"-" is standard input. The exit status is 0, or 2 in case of trouble.

The fields are: 0 label, 1 COV increment, 2 name, 3 unit, 4 reference,
5 data type, 6 object type, 7 instance, 8 units, 9 description, 10 bit number,
11 device scale low, 12 high, 13 user scale low, 14 high, 15 group enable,
16 restart. See ruvex-mapping(5).

Examples:
  ruvexctl tidy export.csv > plant.csv && ruvexctl check plant.csv &&
      ruvex plant.csv plant.xml
  ruvexctl tidy --columns=1,=0,3,5-12 export.csv > plant.csv
)",
    run_tidy};

}  // namespace ruvex
