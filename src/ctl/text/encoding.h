// Texts in the encodings that spreadsheets save in, turned into UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "cells.h"

namespace ruvex {

enum class text_encoding {
  automatic,  // see decode_text
  utf8,       // RFC 3629; a byte-order mark is passed over
  utf16,      // RFC 2781: in the order of its byte-order mark; without one, big-endian where more
              // NUL bytes stand in even places than in odd ones, else little-endian
  latin1,     // ISO/IEC 8859-1: every byte is the character with its number
  cp1252,  // Windows-1252: Latin-1 with typographic signs at 0x80 to 0x9F, five of them undefined
};

struct decoded_text {
  std::string text;        // in UTF-8, without a byte-order mark; the part before a defect
  text_encoding encoding;  // the one that the content was taken to be in
  const char* defect;      // what is wrong with the content; null when nothing is
  text_place place;        // of the defect; the column counts bytes of the text in UTF-8
};

// Decodes `content`. Automatically a byte-order mark decides, else the NUL bytes that UTF-16 has
// beside every character of ASCII: four at least, in one of eight of the even or of the odd places,
// or in half of those of a short text. What is left is UTF-8 when it is valid; else Windows-1252
// when it has a byte of 0x80 to 0x9F, which are control characters in Latin-1, and nothing that is
// UTF-8 beyond ASCII; else Latin-1.
decoded_text decode_text(std::string content, text_encoding encoding);

// Whether nobody can take `content` for anything but UTF-16: it has the NUL bytes of UTF-16, with
// its byte-order mark or as decode_text looks for them. The first 4096 bytes tell.
bool is_utf16(std::string_view content) noexcept;

}  // namespace ruvex
