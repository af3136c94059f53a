#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "command.h"
#include "fill_down.h"
#include "input.h"
#include "output.h"
#include "reference_form.h"
#include "refusals.h"
#include "sheet.h"
#include "sources.h"
#include "table_text.h"
#include "text/encoding.h"
#include "text/texts.h"
#include "text_map.h"
#include "unwritable.h"

namespace ruvex {
namespace {

struct tidy_settings {
  text_encoding encoding = text_encoding::automatic;
  sheet_settings sheet;
  std::map<std::size_t, std::string> map_paths;  // by source
  bool shows_header = false;
};

constexpr choice<std::optional<char>> delimiters[] = {
    {"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}, {"pipe", '|'}, {"auto", std::nullopt},
};

constexpr choice<text_encoding> encodings[] = {
    {"auto", text_encoding::automatic}, {"utf-8", text_encoding::utf8},
    {"utf-16", text_encoding::utf16},   {"latin1", text_encoding::latin1},
    {"cp1252", text_encoding::cp1252},
};

bool take_delimiter(tidy_settings& settings, std::string_view text) {
  if (choose(delimiters, text, settings.sheet.delimiter)) return true;
  const bool is_ascii = text.size() == 1 && static_cast<unsigned char>(text.front()) < 0x80;
  if (!is_ascii || text.find_first_of("\"\r\n") != std::string_view::npos) return false;
  settings.sheet.delimiter = text.front();
  return true;
}

// FIELD:FILE. The file is read when the whole command line is known to be right.
bool take_map(tidy_settings& settings, std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == text.npos || colon + 1 == text.size()) return false;
  const std::optional<std::size_t> source = find_source(text.substr(0, colon));
  return source && settings.map_paths.emplace(*source, text.substr(colon + 1)).second;
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
       settings.sheet.skip = count;
       return true;
     }},
    {"columns", true,
     [](tidy_settings& settings, std::string_view text) {
       return settings.sheet.columns.parse(text);
     }},
    {"fill", true,
     [](tidy_settings& settings, std::string_view text) {
       const std::optional<source_set> chosen = parse_fill(text);
       if (chosen) settings.sheet.filled = *chosen;
       return chosen.has_value();
     }},
    {"header", false,
     [](tidy_settings& settings, std::string_view) { return settings.shows_header = true; }},
    {"map", true, take_map},
    {"reference", true,
     [](tidy_settings& settings, std::string_view text) {
       settings.sheet.reference = parse_reference_form(text);
       return settings.sheet.reference.has_value();
     }},
    {"replace", true,
     [](tidy_settings& settings, std::string_view text) {
       if (text.empty() || find_unwritable(text) != nullptr) return false;
       settings.sheet.replacement = text;
       return true;
     }},
};

// Every byte is a character of these, so what they were taken for is but likely.
void tell_assumed(const char* path, text_encoding encoding) noexcept {
  if (encoding == text_encoding::latin1) complain("%s: taken as Latin-1", path);
  if (encoding == text_encoding::cp1252) complain("%s: taken as Windows-1252", path);
}

// `hint` follows what is wrong with the text.
std::optional<std::string> read_text(const char* path, text_encoding encoding, const char* hint) {
  std::optional<std::string> content = read_content(path);
  if (!content) return std::nullopt;
  decoded_text decoded = decode_text(std::move(*content), encoding);
  if (encoding == text_encoding::automatic) tell_assumed(path, decoded.encoding);
  if (decoded.defect != nullptr) {
    refusals(path).add(decoded.place, "%s%s", decoded.defect, hint);
    return std::nullopt;
  }
  return std::move(decoded.text);
}

// Reads the maps of the settings. False after refusals or complaints.
bool read_maps(tidy_settings& settings) {
  for (const auto& [source, path] : settings.map_paths) {
    const std::optional<std::string> text = read_text(path.c_str(), text_encoding::automatic, "");
    if (!text) return false;
    std::optional<text_map> map = parse_text_map(path.c_str(), *text);
    if (!map) return false;
    settings.sheet.maps.emplace(source, std::move(*map));
  }
  return true;
}

int complain_of_field(std::string_view name) {
  return complain_of_use(
      tidy_command, message("no field has the name '", name, "'; there are ", all_source_names()));
}

// Whether the table of the reference is chosen as a column just where --reference asks for it.
bool is_table_as_asked(const sheet_settings& sheet) noexcept {
  const bool is_asked = sheet.reference && sheet.reference->reading != table_reading::one;
  return is_asked == sheet.columns.choice_of(table_source).is_given;
}

int run_tidy(int argc, char** argv) {
  tidy_settings settings;
  const std::optional<int> status = read_options(tidy_command, argc, argv, option_rows, settings);
  if (status) return *status;
  if (operands(argc, argv).size() != 1) return complain_of_use(tidy_command, "one file is needed");
  const std::string_view unknown = settings.sheet.columns.unknown_name();
  if (!unknown.empty()) return complain_of_field(unknown);
  if (!is_table_as_asked(settings.sheet)) {
    return complain_of_use(tidy_command,
                           "--reference=column+1 (or table+1, function+1) and --columns=table=... "
                           "are given together");
  }
  const char* const path = operands(argc, argv).front();
  if (!read_maps(settings)) return ctl_trouble;
  const std::optional<std::string> text = read_text(path, settings.encoding, "; see --encoding");
  if (!text) return ctl_trouble;
  const auto work = settings.shows_header ? show_header : tidy_sheet;
  const std::optional<std::string> lines = work(path, *text, settings.sheet);
  if (!lines) return ctl_trouble;
  output out;
  out.put(*lines);
  return end_with(ctl_clean, out.finish());
}

}  // namespace

const command tidy_command = {
    "tidy", "[OPTION]... FILE",
    R"(Turn the spreadsheet export FILE into a mapping file on standard output.

Each line of the output has 17 cells separated by commas, none of them empty,
without quotes and without blanks around a cell. Only the form changes. What a
mapping file cannot hold, such as a comma in a name, is refused with its line
and column (which count from 1; columns are bytes, in UTF-8); then there is no
output. What is left out is told on standard error.

  --delimiter=C     what separates the cells of FILE: one character, or tab,
                    comma, semicolon, pipe; auto (the default) takes the one
                    of these four that gives the most cells
  --encoding=NAME   utf-8, utf-16, latin1, cp1252; auto (the default) tells
                    them apart
  --skip=N          leave out the first N lines; by default the lines before
                    the first with a digit in both its unit and its reference
                    (or with #REF!, or the like, in one of them)
  --columns=LIST    the columns that become the fields 0 to 16, by default the
                    first 17; entries are separated by commas:
                      N      column N, from 1
                      N-M    columns N to M
                      -      nothing, and so are entries that are missing
                      =TEXT  TEXT in every line
                      =#N    N in the first line, N + 1 in the next; =# is =#1
                    and FIELD=HEADER anywhere among them: for the field with
                    this name the column with this header (or FIELD==TEXT)
  --fill=LIST       put the text above into the blank cells of these fields, by
                    name, for merged cells: unit, table, data type,
                    object type, units
  --header          print the header of FILE and what its columns become
  --map=FIELD:FILE  put other texts in the place of those of the field with
                    this name; each row of FILE has two: the one of the list,
                    and the one for it
  --reference=FORM  the references are numbers within a table of registers:
                      4+1  in table 4 (or 0, 1, 3), counted from 0
                      4+0  the same, counted from 1
                      column+1    in the table that each row names, such as 4x,
                                  holding register, FC3; its column is chosen
                                  by --columns=table=HEADER
                      table+1     the same, where 3 is the table 3
                      function+1  the same, where 3 is the function code 3
                    and hexadecimal with ",hex" at the end: 4+1,hex
  --replace=TEXT    put TEXT for each comma, quote, line end and control
                    character in a text, and say how often; numbers, units
                    and references that hold one are refused all the same
      --help        print this help
      --version     print the version

Later rows without a unit and a reference are left out, and so are repeated
headers. A blank cell gets the text that keeps the default. A decimal comma in
a COV increment or a scale becomes a point; 1,500 is refused, as it may be 1.5
or 1500, and so is 1.500 in a FILE with decimal commas. What a spreadsheet did
not show as it is (#REF!, ####, 4.00E+04) is refused where a number belongs. In
the label, which is not used, commas, quotes and line ends become blanks. A
FILE that is "-" is standard input. The exit status is 0, or 2 in case of
trouble.

The fields are: 0 label, 1 COV increment, 2 name, 3 unit, 4 reference,
5 data type, 6 object type, 7 instance, 8 units, 9 description, 10 bit number,
11 device scale low, 12 high, 13 user scale low, 14 high, 15 group enable,
16 restart. See ruvex-mapping(5).

Examples:
  ruvexctl tidy export.csv > plant.csv && ruvexctl check plant.csv &&
      ruvex plant.csv plant.xml
  ruvexctl tidy --columns=1,=0,3,5-12 export.csv > plant.csv
  ruvexctl tidy --columns=Unit=Slave,Reference=Register --header export.csv
  ruvexctl tidy --columns=1-6,=ANALOG_VALUE,=#100 --reference=4+1 export.csv
  ruvexctl tidy --map='data type:types.csv' export.csv > plant.csv
  xlsx2csv plant.xlsx | ruvexctl tidy --fill=unit - > plant.csv
)",
    run_tidy};

}  // namespace ruvex
