#include "ruvex/xml/tokenizer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "scan.h"

namespace ruvex {
namespace {

int fail(SimpleXmlParser* parser, SimpleXmlError error) noexcept {
  parser->error = error;
  return 0;
}

const char* position(const SimpleXmlParser* parser) noexcept {
  return parser->inputData + parser->inputPosition;
}

// A caller may have skipped beyond the end.
void settle(SimpleXmlParser* parser) noexcept {
  parser->inputPosition = std::clamp(parser->inputPosition, 0, parser->inputLength);
}

const char* end_of(const SimpleXmlParser* parser) noexcept {
  return parser->inputData + parser->inputLength;
}

void move_to(SimpleXmlParser* parser, const char* at) noexcept {
  parser->inputPosition = static_cast<std::int32_t>(at - parser->inputData);
}

int append(SimpleXmlParser* parser, const char* begin, const char* end) noexcept {
  if (appendBytesToSimpleXmlValueBuffer(parser->valueBuffer, begin,
                                        static_cast<std::size_t>(end - begin)) == 0) {
    return fail(parser, SIMPLE_XML_OUT_OF_MEMORY);
  }
  return 1;
}

// Text that holds a reference, or that the document ends in: from `stop` on it is decoded into the
// value buffer, behind the part from `begin` on that came before.
template <class Find>
[[gnu::noinline, gnu::cold]] int read_decoded_text(SimpleXmlParser* parser, Find find,
                                                   const char* begin, const char* stop,
                                                   std::string_view& text) noexcept {
  const char* const end = end_of(parser);
  const std::int32_t start = parser->valueBuffer->length;
  for (;;) {
    move_to(parser, stop);
    if (append(parser, begin, stop) == 0) return 0;
    if (stop == end) return fail(parser, SIMPLE_XML_UNEXPECTED_END);
    if (*stop != '&') break;
    if (readChar(parser) == 0) return 0;
    begin = position(parser);
    stop = find(begin, end);
  }
  text = {parser->valueBuffer->data + start,
          static_cast<std::size_t>(parser->valueBuffer->length - start)};
  return 1;
}

// Reads text up to a terminator and moves to it. `find` gives, from a place in the document, the
// next terminator or "&", or the end.
template <class Find>
[[gnu::always_inline]] inline int read_text(SimpleXmlParser* parser, Find find,
                                            std::string_view& text) noexcept {
  const char* const end = end_of(parser);
  const char* const begin = position(parser);
  const char* const stop = find(begin, end);
  if (stop == end || *stop == '&') return read_decoded_text(parser, find, begin, stop, text);
  move_to(parser, stop);
  text = {begin, static_cast<std::size_t>(stop - begin)};
  return 1;
}

[[gnu::always_inline]] inline int read_text_to(SimpleXmlParser* parser, char stop,
                                               std::string_view& text) noexcept {
  return read_text(
      parser, [stop](const char* at, const char* end) { return find_in_text(at, end, stop); },
      text);
}

template <unsigned Classes>
[[gnu::always_inline]] inline int read_text_to_class(SimpleXmlParser* parser,
                                                     std::string_view& text) noexcept {
  return read_text(
      parser,
      [](const char* at, const char* end) { return find_class(at, end, Classes | ampersand); },
      text);
}

// Reads text up to `terminator` and moves behind it.
int read_text_through(SimpleXmlParser* parser, std::string_view terminator,
                      std::string_view& text) noexcept {
  const auto find = [terminator](const char* at, const char* end) {
    for (;; ++at) {
      at = find_in_text(at, end, terminator.front());
      if (at == end || *at == '&') return at;
      const auto left = static_cast<std::size_t>(end - at);
      if (std::string_view(at, std::min(left, terminator.size())) == terminator) return at;
    }
  };
  if (read_text(parser, find, text) == 0) return 0;
  parser->inputPosition += static_cast<std::int32_t>(terminator.size());
  return 1;
}

int read_end_tag(SimpleXmlParser* parser, std::string_view& name) noexcept {
  parser->tokenType = TOKEN_TAG_END;
  ++parser->inputPosition;
  if (read_text_to_class<ends_end_tag_name>(parser, name) == 0) return 0;
  const char* const at = position(parser);
  const char* const end = end_of(parser);
  const char* const close = std::find(at, end, '>');
  move_to(parser, close == end ? end : close + 1);
  return close == end ? fail(parser, SIMPLE_XML_UNEXPECTED_END) : 1;
}

int read_start_tag(SimpleXmlParser* parser, std::string_view& name) noexcept {
  parser->tokenType = TOKEN_TAG_START;
  if (read_text_to_class<ends_tag_name>(parser, name) == 0) return 0;
  return *position(parser) == '>' ? 1 : skipWhitespace(parser);
}

// Every "<" of an internal subset has its ">".
[[gnu::noinline, gnu::cold]] int read_doctype(SimpleXmlParser* parser,
                                              std::string_view& text) noexcept {
  parser->tokenType = TOKEN_DOCTYPE;
  const std::int32_t start = parser->valueBuffer->length;
  for (int depth = 1;;) {
    const std::uint8_t next = peekInputChar(parser);
    if (next == '>' && --depth == 0) break;
    if (next == '<') ++depth;
    if (readChar(parser) == 0) return 0;
  }
  ++parser->inputPosition;
  text = {parser->valueBuffer->data + start,
          static_cast<std::size_t>(parser->valueBuffer->length - start)};
  return 1;
}

bool skip_if_next(SimpleXmlParser* parser, char character) noexcept {
  const char* at = position(parser);
  if (at == end_of(parser) || *at != character) return false;
  ++parser->inputPosition;
  return true;
}

bool skip_if_next(SimpleXmlParser* parser, std::string_view word) noexcept {
  const char* at = position(parser);
  const auto left = static_cast<std::size_t>(end_of(parser) - at);
  if (left < word.size() || std::memcmp(at, word.data(), word.size()) != 0) return false;
  parser->inputPosition += static_cast<std::int32_t>(word.size());
  return true;
}

[[gnu::noinline, gnu::cold]] int read_declaration(SimpleXmlParser* parser,
                                                  std::string_view& text) noexcept {
  ++parser->inputPosition;
  if (skip_if_next(parser, "--")) {
    parser->tokenType = TOKEN_COMMENT;
    return read_text_through(parser, "-->", text);
  }
  if (skip_if_next(parser, "DOCTYPE")) return read_doctype(parser, text);
  parser->tokenType = TOKEN_DECLARATION;
  return read_text_through(parser, ">", text);
}

[[gnu::noinline, gnu::cold]] int read_instruction(SimpleXmlParser* parser,
                                                  std::string_view& text) noexcept {
  parser->tokenType = TOKEN_PROCESSING_INSTRUCTION;
  ++parser->inputPosition;
  return read_text_through(parser, "?>", text);
}

// Keeps a name in attributeName and empties the value buffer.
int keep_attribute_name(SimpleXmlParser* parser, std::string_view name) noexcept {
  const auto size = static_cast<std::int32_t>(name.size() + 1);
  if (parser->attributeNameSize < size) {
    std::free(parser->attributeName);
    parser->attributeName = static_cast<char*>(std::malloc(name.size() + 1));
    parser->attributeNameSize = parser->attributeName == nullptr ? 0 : size;
    if (parser->attributeName == nullptr) return fail(parser, SIMPLE_XML_OUT_OF_MEMORY);
  }
  std::memcpy(parser->attributeName, name.data(), name.size());
  parser->attributeName[name.size()] = '\0';
  return clearSimpleXmlValueBuffer(parser->valueBuffer);
}

int read_attribute(SimpleXmlParser* parser, std::string_view& value) noexcept {
  parser->tokenType = TOKEN_ATTRIBUTE;
  std::string_view name;
  if (read_text_to_class<ends_attribute_name>(parser, name) == 0) return 0;
  if (skipWhitespace(parser) == 0) return 0;
  if (!skip_if_next(parser, '=')) return fail(parser, SIMPLE_XML_EQUAL_SIGN_EXPECTED);
  if (keep_attribute_name(parser, name) == 0 || skipWhitespace(parser) == 0) return 0;
  const auto quote = static_cast<char>(readInputChar(parser));
  if (quote != '"' && quote != '\'') return fail(parser, SIMPLE_XML_QUOTE_EXPECTED);
  if (read_text_to(parser, quote, value) == 0) return 0;
  ++parser->inputPosition;
  return skipWhitespace(parser);
}

constexpr int no_digit = -1;

int digit_value(std::uint8_t character, int base) noexcept {
  if (character >= '0' && character <= '9') return character - '0';
  if (base != 16) return no_digit;
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  return no_digit;
}

// Reads the digits of a numeric reference up to and with its ";". The value saturates: beyond the
// largest character nothing more needs to be known of it.
int read_numeric_reference(SimpleXmlParser* parser, int base, int value) noexcept {
  constexpr int largest_character = 255;
  for (;;) {
    const std::uint8_t next = readInputChar(parser);
    if (next == ';') break;
    const int digit = digit_value(next, base);
    if (digit == no_digit) return fail(parser, SIMPLE_XML_ILLEGAL_AMPERSAND);
    value = std::min(value * base + digit, largest_character + 1);
  }
  if (value > largest_character) return fail(parser, SIMPLE_XML_NO_UNICODE);
  return addNextTokenCharValue(parser, static_cast<char>(value));
}

int read_reference(SimpleXmlParser* parser) noexcept {
  constexpr struct {
    std::string_view name;
    char character;
  } entities[] = {{"amp;", '&'}, {"apos;", '\''}, {"quot;", '"'}, {"lt;", '<'}, {"gt;", '>'}};
  for (const auto& entity : entities) {
    if (skip_if_next(parser, entity.name)) return addNextTokenCharValue(parser, entity.character);
  }
  if (!skip_if_next(parser, '#')) return fail(parser, SIMPLE_XML_ILLEGAL_AMPERSAND);
  const std::uint8_t first = readInputChar(parser);
  if (first == 'x') return read_numeric_reference(parser, 16, 0);
  const int digit = digit_value(first, 10);
  if (digit == no_digit) return fail(parser, SIMPLE_XML_ILLEGAL_AMPERSAND);
  return read_numeric_reference(parser, 10, digit);
}

// Appends a token's text to the value buffer, where it has not been decoded into it.
int keep_text(SimpleXmlParser* parser, std::string_view text) noexcept {
  if (!isInDocument(parser, text)) return 1;
  return append(parser, text.data(), text.data() + text.size());
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
  countLineBreaks(parser);
}

std::uint8_t readInputChar(SimpleXmlParser* parser) noexcept {
  if (parser->inputPosition < 0 || parser->inputPosition >= parser->inputLength) {
    parser->error = SIMPLE_XML_UNEXPECTED_END;
    return 0;
  }
  return static_cast<std::uint8_t>(parser->inputData[parser->inputPosition++]);
}

int skipWhitespace(SimpleXmlParser* parser) noexcept {
  settle(parser);
  const char* at = position(parser);
  const char* const end = end_of(parser);
  while (at != end && is(*at, white_space)) ++at;
  move_to(parser, at);
  return at == end ? fail(parser, SIMPLE_XML_UNEXPECTED_END) : 1;
}

int addNextTokenCharValue(SimpleXmlParser* parser, char character) noexcept {
  return append(parser, &character, &character + 1);
}

int addNextTokenStringValue(SimpleXmlParser* parser, const char* text) noexcept {
  if (appendStringToSimpleXmlValueBuffer(parser->valueBuffer, text) != 0) return 1;
  return fail(parser, SIMPLE_XML_OUT_OF_MEMORY);
}

int readChar(SimpleXmlParser* parser) noexcept {
  settle(parser);
  if (position(parser) == end_of(parser)) return fail(parser, SIMPLE_XML_UNEXPECTED_END);
  const auto character = static_cast<char>(readInputChar(parser));
  return character == '&' ? read_reference(parser) : addNextTokenCharValue(parser, character);
}

int nextContentToken(SimpleXmlParser* parser, std::string_view& text) noexcept {
  if (!skip_if_next(parser, '<')) {
    parser->tokenType = TOKEN_CONTENT;
    return read_text_to(parser, '<', text);
  }
  switch (peekInputChar(parser)) {
    case '/':
      return read_end_tag(parser, text);
    case '?':
      return read_instruction(parser, text);
    case '!':
      return read_declaration(parser, text);
    default:
      return read_start_tag(parser, text);
  }
}

int nextTagToken(SimpleXmlParser* parser, std::string_view& text) noexcept {
  if (skip_if_next(parser, '>')) {
    parser->tokenType = TOKEN_TAG_CLOSE;
    return 1;
  }
  if (skip_if_next(parser, '/')) {
    if (!skip_if_next(parser, '>')) return fail(parser, SIMPLE_XML_GREATER_THAN_EXPECTED);
    parser->tokenType = TOKEN_TAG_END;
    return 1;
  }
  return read_attribute(parser, text);
}

const char* storeTokenText(SimpleXmlParser* parser, std::string_view text) noexcept {
  SimpleXmlValueBuffer* buffer = parser->valueBuffer;
  const bool decoded = text.data() == buffer->data;  // it stands there already
  if (!decoded && append(parser, text.data(), text.data() + text.size()) == 0) return nullptr;
  const char* terminated = getInternalSimpleXmlValueBufferContents(buffer);
  if (terminated == nullptr) fail(parser, SIMPLE_XML_OUT_OF_MEMORY);
  buffer->length = 0;
  return terminated;
}

int readNextContentToken(SimpleXmlParser* parser) noexcept {
  settle(parser);
  std::string_view text;
  return nextContentToken(parser, text) == 0 ? 0 : keep_text(parser, text);
}

int readNextTagToken(SimpleXmlParser* parser) noexcept {
  settle(parser);
  std::string_view text;
  return nextTagToken(parser, text) == 0 ? 0 : keep_text(parser, text);
}

void countLineBreaks(SimpleXmlParser* parser) noexcept {
  const char* const end = end_of(parser);
  const char* const stop =
      parser->inputData + std::clamp(parser->inputPosition, 0, parser->inputLength);
  const char* at = parser->inputData + parser->linePosition;
  if (at >= stop) return;
  std::int32_t breaks = 0;
  for (; at != stop; ++at) {
    const bool lone_return = *at == '\r' && at + 1 != end && at[1] != '\n';
    breaks += static_cast<std::int32_t>(*at == '\n' || lone_return);
  }
  parser->lineBreaks += breaks;
  parser->linePosition = static_cast<std::int32_t>(stop - parser->inputData);
}

}  // namespace ruvex
