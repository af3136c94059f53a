#include "place_message.h"

#include <cstdio>

#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {

void append_message(std::string& out, const place_message& message, const paint& paint) {
  out += paint.place;
  append_visible(out, message.path);
  append(out, ":"), append(out, message.line);
  if (message.last_line != message.line) append(out, "-"), append(out, message.last_line);
  if (message.column != 0) append(out, ":"), append(out, message.column);
  append(out, ": "), append(out, paint.kind), append(out, message.kind), append(out, ": ");
  out += paint.text;
  append_visible(out, message.text);
  out += '\n';
}

void print_message(const place_message& message) noexcept {
  std::string line;
  append_message(line, message);
  std::fputs(line.c_str(), stderr);
}

}  // namespace ruvex
