// Small texts of `ruvexctl poll`.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "report/place_message.h"
#include "text/characters.h"
#include "text/texts.h"

namespace ruvex {

// Prints an error about the lines `first` to `last` of a list on standard error; 0 is no line, as
// that of a point of an XML file.
inline void print_point_error(std::string_view path, std::int64_t first, std::int64_t last,
                              std::string_view text) {
  const auto line = static_cast<std::size_t>(first);
  if (line != 0) {
    print_message({path, line, static_cast<std::size_t>(last), 0, "error", text});
    return;
  }
  std::string told;
  append_visible(told, path);
  told += ": error: ";
  append_visible(told, text);
  told += '\n';
  std::fputs(told.c_str(), stderr);
}

}  // namespace ruvex
