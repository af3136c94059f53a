#include "ruvex/xml/parser.h"

#include <cstdlib>

#include "elements.h"
#include "line_breaks.h"
#include "ruvex/xml/tokenizer.h"

namespace ruvex {
namespace {

constexpr std::int32_t first_value_buffer_size = 512;

constexpr const char* descriptions[] = {
    nullptr,                                 // SIMPLE_XML_NO_ERROR
    "parsing has not yet started",           // SIMPLE_XML_NOT_STARTED
    "out of memory",                         // SIMPLE_XML_OUT_OF_MEMORY
    "unexpected end of xml data",            // SIMPLE_XML_UNEXPECTED_END
    "illegal use of ampersand (&)",          // SIMPLE_XML_ILLEGAL_AMPERSAND
    "unicode characters are not supported",  // SIMPLE_XML_NO_UNICODE
    "greater than sign (>) expected",        // SIMPLE_XML_GREATER_THAN_EXPECTED
    "quote (either ' or \") expected",       // SIMPLE_XML_QUOTE_EXPECTED
    "illegal xml handler specified",         // SIMPLE_XML_ILLEGAL_HANDLER
    "xml parser not initialized",            // SIMPLE_XML_NOT_INITIALIZED
    "no document tag found",                 // SIMPLE_XML_NO_DOCUMENT_TAG
    "mismatched end tag",                    // SIMPLE_XML_MISMATCHED_END_TAG
    "attribute expected",                    // SIMPLE_XML_ATTRIBUTE_EXPECTED
    "equal sign (=) expected",               // SIMPLE_XML_EQUAL_SIGN_EXPECTED
};
static_assert(std::size(descriptions) == SIMPLE_XML_EQUAL_SIGN_EXPECTED + 1);

int fail(SimpleXmlParser* parser, SimpleXmlError error) noexcept {
  parser->error = error;
  return 0;
}

// Whether a token of this kind may stand outside the elements, beside white space.
bool is_skipped(std::int32_t token_type) noexcept {
  return token_type == TOKEN_PROCESSING_INSTRUCTION || token_type == TOKEN_COMMENT ||
         token_type == TOKEN_DOCTYPE;
}

// Skips what may stand before the document element and reads that element's name.
int find_document_tag(SimpleXmlParser* parser) noexcept {
  do {
    if (skipWhitespace(parser) != 0) {
      clearSimpleXmlValueBuffer(parser->valueBuffer);
      readNextContentToken(parser);
    }
    if (parser->error == SIMPLE_XML_UNEXPECTED_END) return fail(parser, SIMPLE_XML_NO_DOCUMENT_TAG);
    if (parser->error != SIMPLE_XML_NO_ERROR) return 0;
  } while (is_skipped(parser->tokenType));
  return parser->tokenType == TOKEN_TAG_START ? 1 : fail(parser, SIMPLE_XML_NO_DOCUMENT_TAG);
}

// Does the same for an element of a sequence. 0 at the end of the document, too, without an error.
// Text is refused where it begins: that is the line to look at.
int find_next_tag(SimpleXmlParser* parser) noexcept {
  while (skipWhitespace(parser) != 0) {
    if (peekInputChar(parser) != '<') return fail(parser, SIMPLE_XML_NO_DOCUMENT_TAG);
    clearSimpleXmlValueBuffer(parser->valueBuffer);
    if (readNextContentToken(parser) == 0) return 0;
    if (is_skipped(parser->tokenType)) continue;
    if (parser->tokenType == TOKEN_TAG_START) return 1;
    const bool is_end = parser->tokenType == TOKEN_TAG_END;
    return fail(parser, is_end ? SIMPLE_XML_MISMATCHED_END_TAG : SIMPLE_XML_NO_DOCUMENT_TAG);
  }
  parser->error = SIMPLE_XML_NO_ERROR;
  return 0;
}

int begin(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  if (!handler) return fail(parser, SIMPLE_XML_ILLEGAL_HANDLER);
  if (parser->error != SIMPLE_XML_NOT_STARTED) return fail(parser, SIMPLE_XML_NOT_INITIALIZED);
  parser->error = SIMPLE_XML_NO_ERROR;
  return 1;
}

}  // namespace

SimpleXmlParser* createSimpleXmlParser(const char* document, std::int32_t length) noexcept {
  if (document == nullptr || length < 1) return nullptr;
  value_buffer_ptr buffer(createSimpleXmlValueBuffer(first_value_buffer_size));
  if (buffer == nullptr) return nullptr;
  auto* parser = static_cast<SimpleXmlParser*>(std::calloc(1, sizeof(SimpleXmlParser)));
  if (parser == nullptr) return nullptr;
  parser->valueBuffer = buffer.release();
  initializeSimpleXmlParser(parser, document, length);
  return parser;
}

int initializeSimpleXmlParser(SimpleXmlParser* parser, const char* document,
                              std::int32_t length) noexcept {
  if (parser == nullptr || parser->valueBuffer == nullptr || document == nullptr || length < 1) {
    return 0;
  }
  clearSimpleXmlValueBuffer(parser->valueBuffer);
  parser->userDataStack.count = 0;
  parser->inputData = document;
  parser->inputLength = length;
  parser->inputPosition = 0;
  parser->lineBreaks = 0;
  parser->linePosition = 0;
  parser->error = SIMPLE_XML_NOT_STARTED;
  return 1;
}

void destroySimpleXmlParser(SimpleXmlParser* parser) noexcept {
  if (parser == nullptr) return;
  destroySimpleXmlValueBuffer(parser->valueBuffer);
  std::free(parser->attributeName);
  std::free(parser->userDataStack.values);
  std::free(parser);
}

const char* getSimpleXmlParseErrorDescription(const SimpleXmlParser* parser) noexcept {
  if (parser == nullptr) return nullptr;
  if (parser->error >= SIMPLE_XML_USER_ABORT) return "parsing aborted";
  const auto code = static_cast<std::size_t>(parser->error);  // a negative one is beyond the table
  return code < std::size(descriptions) ? descriptions[code] : "unknown error";
}

int parseSimpleXml(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  const bool is_found = begin(parser, handler) != 0 && find_document_tag(parser) != 0;
  return is_found ? parseOneTag(parser, handler) : 0;
}

SimpleXmlParser* simpleXmlCreateParser(const char* document, std::int32_t length) noexcept {
  return createSimpleXmlParser(document, length);
}

int simpleXmlInitializeParser(SimpleXmlParser* parser, const char* document,
                              std::int32_t length) noexcept {
  return initializeSimpleXmlParser(parser, document, length);
}

void simpleXmlDestroyParser(SimpleXmlParser* parser) noexcept {
  destroySimpleXmlParser(parser);
}

std::int32_t simpleXmlParse(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  if (parser == nullptr) return SIMPLE_XML_NOT_INITIALIZED;
  return parseSimpleXml(parser, handler) != 0 ? SIMPLE_XML_NO_ERROR : parser->error;
}

std::int32_t simpleXmlParseSequence(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept {
  if (parser == nullptr) return SIMPLE_XML_NOT_INITIALIZED;
  if (begin(parser, handler) == 0) return parser->error;
  while (find_next_tag(parser) != 0 && parseOneTag(parser, handler) != 0) {
  }
  return parser->error;
}

void simpleXmlParseAbort(SimpleXmlParser* parser, std::int32_t code) noexcept {
  if (parser != nullptr && code >= SIMPLE_XML_USER_ABORT) parser->error = code;
}

std::int32_t simpleXmlGetLineNumber(SimpleXmlParser* parser) noexcept {
  if (parser == nullptr) return -1;
  count_line_breaks(parser);
  return parser->lineBreaks + 1;
}

const char* simpleXmlGetErrorDescription(const SimpleXmlParser* parser) noexcept {
  return getSimpleXmlParseErrorDescription(parser);
}

int simpleXmlPushUserData(SimpleXmlParser* parser, void* value) noexcept {
  if (parser == nullptr || value == nullptr) return 0;
  SimpleXmlUserDataStack& stack = parser->userDataStack;
  if (stack.count == stack.room) {
    const std::int32_t room = stack.room == 0 ? 8 : stack.room * 2;
    void* values = std::realloc(stack.values, static_cast<std::size_t>(room) * sizeof(void*));
    if (values == nullptr) return 0;
    stack.values = static_cast<void**>(values);
    stack.room = room;
  }
  stack.values[stack.count++] = value;
  return 1;
}

void* simpleXmlPopUserData(SimpleXmlParser* parser) noexcept {
  void* value = simpleXmlGetUserData(parser);
  if (value != nullptr) --parser->userDataStack.count;
  return value;
}

void* simpleXmlGetUserData(const SimpleXmlParser* parser) noexcept {
  return simpleXmlGetUserDataAt(parser, 0);
}

void* simpleXmlGetUserDataAt(const SimpleXmlParser* parser, std::int32_t level) noexcept {
  if (parser == nullptr || level < 0 || level >= parser->userDataStack.count) return nullptr;
  return parser->userDataStack.values[parser->userDataStack.count - 1 - level];
}

}  // namespace ruvex
