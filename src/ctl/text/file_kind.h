// What kind of file somebody has given, by its content.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ruvex {

enum class file_kind : std::uint8_t {
  mapping,        // whatever is none of the others
  unit_file,      // XML whose first element is unit_cfg
  document,       // XML whose first element is yax_cfg, or XML that breaks before it
  other_xml,      // XML whose first element is another
  zip,            // an .xlsx workbook, or another archive
  open_document,  // an .ods workbook
  old_workbook,   // an .xls workbook
  utf_16,         // text in UTF-16
  gzip,
  empty,
};

// The kind of a file with this content. XML begins with "<" after a byte-order mark of UTF-8 and
// white space.
file_kind kind_of(std::string_view content);

// The name of the first element of XML, as the project's parser reads it; empty where the XML
// breaks before it.
std::string first_element(std::string_view xml);

// The text without the byte-order mark of UTF-8 that it may begin with.
std::string_view behind_mark(std::string_view text) noexcept;

}  // namespace ruvex
