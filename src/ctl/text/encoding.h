// Texts in the encodings that spreadsheets save in, turned into UTF-8.
#pragma once

#include <string>

#include "cells.h"

namespace ruvex {

enum class text_encoding {
  automatic,  // see decode_text
  utf8,       // RFC 3629; a byte-order mark is passed over
  utf16,      // RFC 2781: in the order of its byte-order mark, else little-endian
  latin1,     // ISO/IEC 8859-1: every byte is the character with its number
};

struct decoded_text {
  std::string text;        // in UTF-8, without a byte-order mark; the part before a defect
  text_encoding encoding;  // the one that the content was taken to be in
  const char* defect;      // what is wrong with the content; null when nothing is
  text_place place;        // of the defect; the column counts bytes of the text in UTF-8
};

// Decodes `content`. Automatically a byte-order mark decides, else NUL bytes in most of the even or
// most of the odd places, as UTF-16 has them; what is left is UTF-8 when it is valid, and Latin-1
// when it is not.
decoded_text decode_text(std::string content, text_encoding encoding);

}  // namespace ruvex
