#include "utf_8.h"

namespace ruvex {
namespace {

constexpr unsigned char byte_at(std::string_view text, std::size_t at) noexcept {
  return static_cast<unsigned char>(text[at]);
}

// Lead bytes of UTF-8 with the bounds of the byte behind them, which keep out overlong forms,
// surrogates and what lies beyond U+10FFFF.
struct lead_row {
  unsigned char first, last;
  unsigned char second_first, second_last;
  std::size_t length;
};
constexpr lead_row leads[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

}  // namespace

std::size_t utf_8_length(std::string_view text) noexcept {
  for (const lead_row& lead : leads) {
    if (byte_at(text, 0) < lead.first || byte_at(text, 0) > lead.last) continue;
    if (text.size() < lead.length) return 0;
    if (lead.length > 1 &&
        (byte_at(text, 1) < lead.second_first || byte_at(text, 1) > lead.second_last)) {
      return 0;
    }
    for (std::size_t at = 2; at < lead.length; ++at) {
      if ((byte_at(text, at) & 0xC0) != 0x80) return 0;
    }
    return lead.length;
  }
  return 0;
}

}  // namespace ruvex
