#include "json.h"

#include <cstddef>

#include "printable.h"

namespace ruvex {
namespace {

void append_escape(std::string& out, unsigned char byte) {
  constexpr char hex_digits[] = "0123456789abcdef";
  out += "\\u00";
  out += hex_digits[byte >> 4];
  out += hex_digits[byte & 15];
}

}  // namespace

// The controls above ASCII, U+0080 to U+009F, end in the byte that is their number.
void append_json(std::string& out, std::string_view bytes) {
  out += '"';
  while (!bytes.empty()) {
    const character_form form = form_at(bytes);
    const std::string_view character(bytes.data(), form.length);
    if (!form.is_printable) {
      append_escape(out, static_cast<unsigned char>(character.back()));
    } else {
      if (character == "\"" || character == "\\") out += '\\';
      out += character;
    }
    bytes.remove_prefix(form.length);
  }
  out += '"';
}

}  // namespace ruvex
