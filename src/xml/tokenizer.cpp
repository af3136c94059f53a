#include "ruvex/xml/tokenizer.h"

#include <algorithm>
#include <limits>

#include "line_breaks.h"
#include "token_reader.h"

namespace ruvex {
namespace {

int finish(const token_reader& reader, bool done) noexcept {
  reader.publish();
  return done ? 1 : 0;
}

// Leaves the text of the token in the value buffer.
int finish(token_reader& reader, const token& token) noexcept {
  return finish(reader, token && (!token.in_document || reader.append(token.text)));
}

}  // namespace

std::uint8_t peekInputChar(const SimpleXmlParser* parser) noexcept {
  return peekInputCharAt(parser, 0);
}

std::uint8_t peekInputCharAt(const SimpleXmlParser* parser, std::int32_t offset) noexcept {
  const std::int64_t at = std::int64_t{parser->inputPosition} + offset;
  if (at < 0 || at >= parser->inputLength) return 0;
  return static_cast<std::uint8_t>(parser->inputData[at]);
}

void skipInputChar(SimpleXmlParser* parser) noexcept {
  skipInputChars(parser, 1);
}

void skipInputChars(SimpleXmlParser* parser, std::int32_t count) noexcept {
  if (count < 1) return;
  const std::int64_t at = std::int64_t{parser->inputPosition} + count;
  parser->inputPosition = static_cast<std::int32_t>(
      std::min<std::int64_t>(at, std::numeric_limits<std::int32_t>::max()));
  count_line_breaks(parser);
}

std::uint8_t readInputChar(SimpleXmlParser* parser) noexcept {
  // A reader would bring the position back to the end.
  if (parser->inputPosition < 0 || parser->inputPosition > parser->inputLength) {
    parser->error = SIMPLE_XML_UNEXPECTED_END;
    return 0;
  }
  token_reader reader(parser);
  char byte = '\0';
  finish(reader, reader.read_byte(byte));
  return static_cast<std::uint8_t>(byte);
}

int skipWhitespace(SimpleXmlParser* parser) noexcept {
  token_reader reader(parser);
  return finish(reader, reader.skip_white_space());
}

int addNextTokenCharValue(SimpleXmlParser* parser, char character) noexcept {
  if (appendCharToSimpleXmlValueBuffer(parser->valueBuffer, character) != 0) return 1;
  parser->error = SIMPLE_XML_OUT_OF_MEMORY;
  return 0;
}

int addNextTokenStringValue(SimpleXmlParser* parser, const char* text) noexcept {
  if (appendStringToSimpleXmlValueBuffer(parser->valueBuffer, text) != 0) return 1;
  parser->error = SIMPLE_XML_OUT_OF_MEMORY;
  return 0;
}

int readChar(SimpleXmlParser* parser) noexcept {
  token_reader reader(parser);
  return finish(reader, reader.read_character());
}

int readNextContentToken(SimpleXmlParser* parser) noexcept {
  token_reader reader(parser);
  return finish(reader, reader.read_content_or_markup());
}

int readNextTagToken(SimpleXmlParser* parser) noexcept {
  token_reader reader(parser);
  return finish(reader, reader.read_in_tag());
}

}  // namespace ruvex
