// A small, event-driven, non-validating XML parser over a document in memory.
//
//   parser = simpleXmlCreateParser(bytes, length);
//   code = simpleXmlParse(parser, handler);   // 0, or see description and line number
//   simpleXmlDestroyParser(parser);
//
// The document is read once, from its first byte to the end of its document element; what follows
// is not looked at. (simpleXmlParseSequence reads one element after another, to the last byte.) It
// need not end in a NUL, is neither copied nor changed, and stays the caller's. The handler of an
// element chooses the handlers of its children (parser_record.h). For <a x="1">t<b/></a> the calls
// are: start a (to the handler given), then to a's handler: attribute x, attributes end, content
// "t", start b; to b's: attributes end, tag end; to a's: tag end.
//
// Characters are single bytes. The five predefined entities and references to characters up to 255
// are decoded, everywhere but behind an end tag's name; any other "&" is an error. Content is
// delivered as it stands, white space included, one call for each run between two pieces of markup.
// Comments, processing instructions, a DOCTYPE and other declarations (CDATA sections too) are
// skipped. Nesting is limited by memory alone.
//
// A parser parses once for each creation or initialisation. Separate parsers may be used on
// separate threads at the same time. Handlers run inside simpleXmlParse and may use a parser of
// their own.
#pragma once

#include <cstdint>
#include <memory>

#include "ruvex/xml/parser_record.h"

namespace ruvex {

// A parser over `length` bytes (at least 1) at `document`, which outlive the parse. The caller owns
// the parser. Null when `document` is null, `length` is below 1, or memory has run out.
SimpleXmlParser* simpleXmlCreateParser(const char* document, std::int32_t length) noexcept;

// Sets the parser to the start of another document; the user-data stack is emptied, the buffers are
// kept. 1 on success; 0, and nothing has changed, for a null parser or document or a length
// below 1.
int simpleXmlInitializeParser(SimpleXmlParser* parser, const char* document,
                              std::int32_t length) noexcept;

// Releases the parser, not the document nor the user data. Null is allowed.
void simpleXmlDestroyParser(SimpleXmlParser* parser) noexcept;

struct xml_parser_delete {
  void operator()(SimpleXmlParser* parser) const noexcept { simpleXmlDestroyParser(parser); }
};
using xml_parser_ptr = std::unique_ptr<SimpleXmlParser, xml_parser_delete>;

// Parses the document. 0 on success; otherwise the code of the failure (SimpleXmlError), or the
// code of 1000 or more with which a handler aborted. After a failure no handler is called again,
// also not for the end of elements that are open. A null parser gives 9, a null handler 8, a parser
// that has been used since it was initialised 9. A handler must not throw: an exception that leaves
// it ends the program (std::terminate).
std::int32_t simpleXmlParse(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;

// Parses a document that is a sequence of elements, to its end. `handler` is called for the start
// of each of them. Between them, before and after them stand white space, comments, processing
// instructions and DOCTYPE declarations; a document of nothing else is a sequence of no elements.
// The results are those of simpleXmlParse: text and other declarations outside the elements give
// 10, an end tag there gives 11.
std::int32_t simpleXmlParseSequence(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;

// For handlers: ends the parse with `code` as soon as the handler returns. Codes below 1000 and a
// null parser change nothing.
void simpleXmlParseAbort(SimpleXmlParser* parser, std::int32_t code) noexcept;

// The line, from 1, on which the parser stands or has stopped; -1 for a null parser. A line ends at
// LF, CR LF or CR. The time is that of the bytes passed since the line was asked for last.
std::int32_t simpleXmlGetLineNumber(SimpleXmlParser* parser) noexcept;

// A constant text for the parser's `error`; null for a null parser and where there is no error.
const char* simpleXmlGetErrorDescription(const SimpleXmlParser* parser) noexcept;

// The user-data stack: values that handlers keep for themselves. A value is never null, so a null
// result says that there is no such entry (or no parser).
//
// Push: 1, or 0 and no change for a null parser or value or where memory has run out.
int simpleXmlPushUserData(SimpleXmlParser* parser, void* value) noexcept;
// Takes the top entry off and returns it.
void* simpleXmlPopUserData(SimpleXmlParser* parser) noexcept;
// The top entry; and the entry `level` below it, 0 being the top.
void* simpleXmlGetUserData(const SimpleXmlParser* parser) noexcept;
void* simpleXmlGetUserDataAt(const SimpleXmlParser* parser, std::int32_t level) noexcept;

// What the operations above forward to. Their results are the same, except for parseSimpleXml:
// 1 on success, 0 on failure, with the reason in the parser's `error`. Its parser is not null.
SimpleXmlParser* createSimpleXmlParser(const char* document, std::int32_t length) noexcept;
int initializeSimpleXmlParser(SimpleXmlParser* parser, const char* document,
                              std::int32_t length) noexcept;
void destroySimpleXmlParser(SimpleXmlParser* parser) noexcept;
int parseSimpleXml(SimpleXmlParser* parser, SimpleXmlTagHandler handler) noexcept;
const char* getSimpleXmlParseErrorDescription(const SimpleXmlParser* parser) noexcept;

}  // namespace ruvex
