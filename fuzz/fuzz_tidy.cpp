// From the bytes of a spreadsheet export to mapping lines. What comes out is in the strict form:
// `ruvexctl check` finds nothing wrong with it as a file and with its cells, and to tidy it again
// changes nothing.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "check/mapping_check.h"
#include "require.h"
#include "text/encoding.h"
#include "tidy/sheet.h"

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

// The first byte chooses the encoding, the columns and whether lines are skipped, the second the
// delimiter and whether there is a replacement. The header is shown in every case.
void run(std::string_view bytes) {
  if (bytes.size() < 2) return;
  constexpr text_encoding encodings[] = {text_encoding::automatic, text_encoding::utf8,
                                         text_encoding::utf16, text_encoding::latin1,
                                         text_encoding::cp1252};
  const auto choice = static_cast<unsigned char>(bytes[0]);
  sheet_settings settings;
  const auto delimiter = static_cast<char>(bytes[1] & 0x7F);
  if (delimiter == ',' || delimiter == ';') settings.delimiter = delimiter;
  if (delimiter != bytes[1]) settings.replacement = "_";
  if (choice >= 0x80) settings.skip = choice % 3;
  if (choice / 40 == 1 || choice / 40 == 4) {
    settings.columns.parse("Unit=U,Reference=R,name=N,device scale high=S,=L");
  }
  const decoded_text decoded = decode_text(std::string(bytes.substr(2)), encodings[choice % 5]);
  if (decoded.defect != nullptr) return;
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
