#include <charconv>
#include <cstring>

#include "line_settings.h"
#include "ruvex/serial/format.h"

namespace ruvex {

bool serParseFormat(const char* text, ser_format& format) noexcept {
  ser_format read;
  const char* end = text + std::strlen(text);
  const auto [rest, error] = std::from_chars(text, end, read.baud);
  // from_chars allows leading zeros.
  if (error != std::errc() || *text == '0' || end - rest != 4 || *rest != ',') return false;
  read.data_bits = rest[1] - '0';
  read.parity = rest[2];
  read.stop_bits = rest[3] - '0';
  if (find_impossible(read) != nullptr) return false;
  format = read;
  return true;
}

}  // namespace ruvex
