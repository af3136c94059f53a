#include "file_kind.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "characters.h"
#include "encoding.h"
#include "ruvex/xml/parser.h"

namespace ruvex {
namespace {

// The first entry of an .ods file is stored, not packed: its name begins 30 bytes into the file
// (APPNOTE.TXT 4.3.7; OpenDocument 1.2, part 3, section 3.3).
constexpr std::size_t zip_name_place = 30;
constexpr std::string_view open_document_entry =
    "mimetypeapplication/vnd.oasis.opendocument.spreadsheet";

constexpr struct {
  std::size_t place;
  std::string_view bytes;
  file_kind kind;
} signatures[] = {
    {zip_name_place, open_document_entry, file_kind::open_document},
    {0, "PK\3\4", file_kind::zip},
    {0, "\xD0\xCF\x11\xE0", file_kind::old_workbook},
    {0, "\x1F\x8B", file_kind::gzip},
};

bool is_xml(std::string_view content) noexcept {
  const std::string_view text = behind_mark(content);
  const std::size_t at = text.find_first_not_of(" \t\r\n");
  return at != std::string_view::npos && text[at] == '<';
}

// The user data is where the name goes. Nothing behind the name is read.
SimpleXmlTagHandler name_handler(SimpleXmlParser* parser, std::int32_t, const char* name,
                                 const char*, const char*) {
  *static_cast<std::string*>(simpleXmlGetUserData(parser)) = name;
  simpleXmlParseAbort(parser, SIMPLE_XML_USER_ABORT);
  return nullptr;
}

file_kind xml_kind(std::string_view content) {
  const std::string name = first_element(content);
  if (name == "unit_cfg") return file_kind::unit_file;
  return name.empty() || name == "yax_cfg" ? file_kind::document : file_kind::other_xml;
}

}  // namespace

std::string_view behind_mark(std::string_view text) noexcept {
  if (text.starts_with(utf_8_mark)) text.remove_prefix(utf_8_mark.size());
  return text;
}

std::string first_element(std::string_view xml) {
  constexpr std::size_t most = std::numeric_limits<std::int32_t>::max();
  std::string name;
  xml = behind_mark(xml);
  const xml_parser_ptr parser(
      simpleXmlCreateParser(xml.data(), static_cast<std::int32_t>(std::min(xml.size(), most))));
  if (parser == nullptr || simpleXmlPushUserData(parser.get(), &name) == 0) return name;
  simpleXmlParse(parser.get(), name_handler);
  return name;
}

file_kind kind_of(std::string_view content) {
  if (content.empty()) return file_kind::empty;
  for (const auto& row : signatures) {
    if (content.size() > row.place && content.substr(row.place).starts_with(row.bytes)) {
      return row.kind;
    }
  }
  if (is_utf16(content)) return file_kind::utf_16;
  return is_xml(content) ? xml_kind(content) : file_kind::mapping;
}

}  // namespace ruvex
