// Bytes become tokens: the cursor over the document, the character reader with its references, and
// the readers of the two levels. The functions return 1 on success and 0 on failure, with the
// reason in the parser's `error`; the position then stays where reading stopped.
//
// Bytes are unsigned. White space is every byte from 0x00 to 0x20. A line break is a line feed, or
// a carriage return that is followed by something other than a line feed.
#pragma once

#include <cstdint>

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// The byte at the position, or at a distance from it; 0 outside the document.
std::uint8_t peekInputChar(const SimpleXmlParser* parser) noexcept;
std::uint8_t peekInputCharAt(const SimpleXmlParser* parser, std::int32_t offset) noexcept;

// Moves on by a byte, or by `count` bytes (none for a count below 1), also beyond the end.
void skipInputChar(SimpleXmlParser* parser) noexcept;
void skipInputChars(SimpleXmlParser* parser, std::int32_t count) noexcept;

// The byte at the position, and moves on; at the end `error` 3 and 0.
std::uint8_t readInputChar(SimpleXmlParser* parser) noexcept;

// Moves on to the first byte that is no white space; 0 with `error` 3 where the document ends
// first.
int skipWhitespace(SimpleXmlParser* parser) noexcept;

// Append to the value buffer; 0 with `error` 2 when memory has run out.
int addNextTokenCharValue(SimpleXmlParser* parser, char character) noexcept;
int addNextTokenStringValue(SimpleXmlParser* parser, const char* text) noexcept;

// Reads one character of text, a reference decoded, and appends it to the value buffer.
int readChar(SimpleXmlParser* parser) noexcept;

// Reads one token outside or inside a start tag. The kind goes to `tokenType`, the text is appended
// to the value buffer, an attribute's name goes to `attributeName` (the buffer is cleared behind
// it).
int readNextContentToken(SimpleXmlParser* parser) noexcept;
int readNextTagToken(SimpleXmlParser* parser) noexcept;

}  // namespace ruvex
