// The parser's record, its error codes, its events and the type of its handlers.
#pragma once

#include <cstdint>

#include "ruvex/xml/value_buffer.h"

namespace ruvex {

enum SimpleXmlError : std::int32_t {
  SIMPLE_XML_NO_ERROR = 0,
  SIMPLE_XML_NOT_STARTED = 1,
  SIMPLE_XML_OUT_OF_MEMORY = 2,
  SIMPLE_XML_UNEXPECTED_END = 3,
  SIMPLE_XML_ILLEGAL_AMPERSAND = 4,
  SIMPLE_XML_NO_UNICODE = 5,
  SIMPLE_XML_GREATER_THAN_EXPECTED = 6,
  SIMPLE_XML_QUOTE_EXPECTED = 7,
  SIMPLE_XML_ILLEGAL_HANDLER = 8,
  SIMPLE_XML_NOT_INITIALIZED = 9,
  SIMPLE_XML_NO_DOCUMENT_TAG = 10,
  SIMPLE_XML_MISMATCHED_END_TAG = 11,
  SIMPLE_XML_ATTRIBUTE_EXPECTED = 12,
  SIMPLE_XML_EQUAL_SIGN_EXPECTED = 13,
  SIMPLE_XML_USER_ABORT = 1000,  // a handler's own codes start here
};

enum SimpleXmlEvent : std::int32_t {
  SIMPLE_XML_EVENT_TAG_END = 0,
  SIMPLE_XML_EVENT_ATTRIBUTE = 1,
  SIMPLE_XML_EVENT_ATTRIBUTES_END = 2,
  SIMPLE_XML_EVENT_CONTENT = 3,
  SIMPLE_XML_EVENT_SUBTAG_START = 4,
};

enum SimpleXmlToken : std::int32_t {
  TOKEN_TAG_START = 0,
  TOKEN_TAG_CLOSE = 1,
  TOKEN_TAG_END = 2,
  TOKEN_PROCESSING_INSTRUCTION = 3,
  TOKEN_DOCTYPE = 4,
  TOKEN_COMMENT = 5,
  TOKEN_ATTRIBUTE = 6,
  TOKEN_CONTENT = 7,
  TOKEN_DECLARATION = 8,
};

// Context values that handlers keep, the top one last. The array is owned, the values are not.
struct SimpleXmlUserDataStack {
  void** values;
  std::int32_t count;
  std::int32_t room;
};

// To a handler, `valueLength` and the user data mean something, and so do the results of the
// operations; the other fields may be those of an earlier token. After a parse, `error` and
// `inputPosition` tell how and where it ended.
struct SimpleXmlParser {
  std::int32_t error;                 // a SimpleXmlError, or a handler's abort code
  SimpleXmlValueBuffer* valueBuffer;  // owned
  std::int32_t tokenType;             // a SimpleXmlToken: the token last read
  char* attributeName;                // owned, NUL-terminated; null until the first attribute
  std::int32_t attributeNameSize;     // bytes of attributeName
  const char* inputData;              // the document; not owned
  std::int32_t inputLength;           // its bytes, at least 1
  std::int32_t inputPosition;         // of the next byte
  std::int32_t lineBreaks;            // line breaks before linePosition
  SimpleXmlUserDataStack userDataStack;
  std::int32_t linePosition;  // line breaks are counted when they are asked for, up to here so far
  std::int32_t valueLength;   // bytes of the value that a handler is being called with
};

// A handler: a function that is called with every event of an element and that returns, when a
// child element starts, the handler of that child. Null, as a returned handler, ignores the child.
//
//   parser          the caller; abort, line number and user data may be used on it
//   event           a SimpleXmlEvent
//   name            NUL-terminated: the element that starts (SUBTAG_START), otherwise the element
//                   that the event belongs to; valid until that element's TAG_END has returned
//   attribute_name  NUL-terminated and decoded (ATTRIBUTE); null otherwise
//   value           NUL-terminated and decoded: the attribute's value (ATTRIBUTE) or a run of
//                   content (CONTENT); null otherwise. It may hold NULs itself: its bytes are
//                   parser->valueLength. This and attribute_name are valid during the call
class SimpleXmlTagHandler {
 public:
  using function = SimpleXmlTagHandler (*)(SimpleXmlParser* parser, std::int32_t event,
                                           const char* name, const char* attribute_name,
                                           const char* value);

  constexpr SimpleXmlTagHandler() noexcept = default;
  // A handler returns the function's name, or null, as it is.
  // NOLINTBEGIN(google-explicit-constructor)
  constexpr SimpleXmlTagHandler(std::nullptr_t) noexcept {}
  constexpr SimpleXmlTagHandler(function call) noexcept : call_(call) {}
  // NOLINTEND(google-explicit-constructor)

  explicit constexpr operator bool() const noexcept { return call_ != nullptr; }
  SimpleXmlTagHandler operator()(SimpleXmlParser* parser, std::int32_t event, const char* name,
                                 const char* attribute_name, const char* value) const {
    return call_(parser, event, name, attribute_name, value);
  }
  friend constexpr bool operator==(SimpleXmlTagHandler, SimpleXmlTagHandler) noexcept = default;

 private:
  function call_ = nullptr;
};

// Ignores an element with everything in it, which is still read and checked. Returns itself.
SimpleXmlTagHandler simpleXmlNopHandler(SimpleXmlParser* parser, std::int32_t event,
                                        const char* name, const char* attribute_name,
                                        const char* value);

}  // namespace ruvex
