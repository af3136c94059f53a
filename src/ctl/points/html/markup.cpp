#include "markup.h"

#include "text/characters.h"

namespace ruvex {
namespace {

std::string_view html_escape(char character) noexcept {
  switch (character) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    default:
      return {};
  }
}

}  // namespace

void append(std::string& out, const html_text& part) {
  std::string visible;
  append_visible(visible, part.text);
  for (const char character : visible) {
    const std::string_view escape = html_escape(character);
    if (escape.empty()) {
      out += character;
    } else {
      out += escape;
    }
  }
}

void append_count(std::string& out, std::size_t count, std::string_view what) {
  append_all(out, count, " ", what, count == 1 ? "" : "s");
}

}  // namespace ruvex
