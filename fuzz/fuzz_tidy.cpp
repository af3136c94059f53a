// From the bytes of a spreadsheet export to mapping lines. What comes out is in the strict form:
// `ruvexctl check` finds nothing wrong with it as a file and with its cells, and to tidy it again
// changes nothing.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "check/mapping_check.h"
#include "require.h"
#include "text/encoding.h"
#include "tidy/fill_down.h"
#include "tidy/reference_form.h"
#include "tidy/sheet.h"
#include "tidy/text_map.h"

namespace ruvex {
namespace {

constexpr rule form_rules[] = {
    rule::utf_16,        rule::byte_order_mark, rule::nul_byte,        rule::line_too_long,
    rule::one_field,     rule::few_fields,      rule::carriage_return, rule::wrong_separator,
    rule::extra_cells,   rule::empty_cell,      rule::empty_end,       rule::split_cell,
    rule::leading_blank,
};

void require_strict_form(std::string_view lines) {
  mapping_check check;
  while (!lines.empty()) {
    const std::size_t length = lines.find('\n') + 1;
    require(length != 0 && length <= max_mapping_line, "a line has its end, and the length");
    check.check_line(line_result::line, lines.substr(0, length));
    for (const finding& finding : check.findings()) {
      require(std::find(std::begin(form_rules), std::end(form_rules), finding.id) ==
                  std::end(form_rules),
              "the form is strict");
    }
    lines.remove_prefix(length);
  }
}

constexpr std::string_view column_lists[] = {
    {},
    "Unit=U,Reference=R,name=N,device scale high=S,=L",
    "1-4,4,=16 Bit Signed Integer,=ANALOG_VALUE,=#4194000,5",
    "=#,-,2,1,3,4,instance==#7,units=N",
};

constexpr std::string_view reference_forms[] = {"4+1", "0+0", "1+1,hex", "3+0"};
constexpr std::string_view table_forms[] = {"column+1", "table+0", "function+1,hex"};

// References, and the table where there is a form for it; `choice` is below 8.
void choose_reference(sheet_settings& settings, std::string& columns, std::size_t choice) {
  if (choice < 4) settings.reference = parse_reference_form(reference_forms[choice]);
  if (choice < 4 || choice == 7) return;
  settings.reference = parse_reference_form(table_forms[choice - 4]);
  columns += columns.empty() ? "1-17,table=T" : ",table=T";
}

// The first byte chooses the encoding, the columns and whether lines are skipped, the second the
// delimiter and whether there is a replacement, the third how references and blank cells are read
// and whether there are maps. The header is shown in every case.
void run(std::string_view bytes) {
  if (bytes.size() < 3) return;
  constexpr text_encoding encodings[] = {text_encoding::automatic, text_encoding::utf8,
                                         text_encoding::utf16, text_encoding::latin1,
                                         text_encoding::cp1252};
  const auto choice = static_cast<unsigned char>(bytes[0]);
  const auto reading = static_cast<unsigned char>(bytes[2]);
  sheet_settings settings;
  const auto delimiter = static_cast<char>(bytes[1] & 0x7F);
  if (delimiter == ',' || delimiter == ';') settings.delimiter = delimiter;
  if (delimiter != bytes[1]) settings.replacement = "_";
  if (choice >= 0x80) settings.skip = choice % 3;
  std::string columns(column_lists[choice / 5 % 4]);
  if (reading >= 0x80) choose_reference(settings, columns, reading % 8);
  if (!columns.empty()) require(settings.columns.parse(columns), "the list is one");
  if ((reading & 0x40) != 0) settings.filled = *parse_fill("unit,table,units");
  const decoded_text decoded = decode_text(std::string(bytes.substr(3)), encodings[choice % 5]);
  if (decoded.defect != nullptr) return;
  std::optional<text_map> map =
      parse_text_map("-", (reading & 0x10) != 0 ? "U,1\nkWh,a b\n" : decoded.text);
  require(!map || !map->empty(), "a map has texts");
  if (map && (reading & 0x20) != 0) settings.maps = {{field_bac_units, *map}, {field_unit, *map}};
  const std::optional<std::string> shown = show_header("-", decoded.text, settings);
  require(!shown || shown->ends_with('\n'), "what is shown are lines");
  const std::optional<std::string> lines = tidy_sheet("-", decoded.text, settings);
  if (!lines) return;
  require_strict_form(*lines);
  sheet_settings as_they_are;
  as_they_are.skip = 0;
  as_they_are.delimiter = ',';
  require(tidy_sheet("-", *lines, as_they_are) == *lines, "to tidy again changes nothing");
}

}  // namespace
}  // namespace ruvex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ruvex::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
