#include "file_findings.h"

#include "text/texts.h"

namespace ruvex {
namespace {

constexpr struct {
  file_kind kind;
  rule id;
  std::string_view text;
} file_rows[] = {
    {file_kind::zip, rule::workbook,
     "the file is an .xlsx workbook or another archive, not text; save it as CSV, or use xlsx2csv "
     "FILE | ruvexctl tidy -"},
    {file_kind::open_document, rule::workbook,
     "the file is an .ods workbook, not text; save it as CSV"},
    {file_kind::old_workbook, rule::workbook,
     "the file is an .xls workbook, not text; save it as CSV"},
    {file_kind::utf_16, rule::utf_16,
     "the file is UTF-16 text, of which ruvex can read nothing; save it as CSV UTF-8, or use "
     "ruvexctl tidy"},
    {file_kind::gzip, rule::compressed, "the file is compressed; unpack it with gunzip"},
    {file_kind::empty, rule::empty_file, "the file is empty: no points"},
};

finding about_file(rule id, std::string text) {
  return {id, 1, 1, no_field, std::move(text)};
}

}  // namespace

std::optional<finding> file_finding(file_kind kind, std::string_view content) {
  for (const auto& row : file_rows) {
    if (row.kind == kind) return about_file(row.id, std::string(row.text));
  }
  if (kind != file_kind::other_xml) return std::nullopt;
  return about_file(rule::other_xml,
                    message("the XML begins with ", quoted{first_element(content)},
                            "; a unit file begins with unit_cfg, a configuration with yax_cfg"));
}

}  // namespace ruvex
