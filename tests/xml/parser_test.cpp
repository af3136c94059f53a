#include "xml/parser.h"

#include <limits>
#include <utility>
#include <vector>

#include "gmock/gmock.h"
#include "xml/documents.h"
#include "xml/elements.h"
#include "xml/recorder.h"

namespace ruvex {
namespace {

constexpr std::string_view sample = "<a x='1' y='2'>t<b z='3'/>\nu<n/></a>";
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

xml_parser_ptr parser_over(std::string_view document) {
  return xml_parser_ptr(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
}

TEST(Parser, TellsAcceptedDocumentsInEvents) {
  for (const auto& [bytes, events] : accepted_documents) {
    const outcome got = parse(bytes);
    EXPECT_EQ(got.error, SIMPLE_XML_NO_ERROR) << printable(bytes);
    EXPECT_EQ(got.event_text(), events) << printable(bytes);
  }
}

TEST(Parser, RefusesWithACode) {
  for (const auto& [error, documents] : refused_documents) {
    for (const std::string_view bytes : documents) {
      const outcome got = parse(bytes);
      EXPECT_EQ(got.error, error) << printable(bytes);
      EXPECT_EQ(got.line, 1) << printable(bytes);
    }
  }
}

TEST(Parser, TellsTheLineOnWhichItStopped) {
  constexpr struct {
    std::string_view document;
    SimpleXmlError error;
    int line;
  } rows[] = {
      {"<a>\n\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
      {"<a>\r\n\r\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
      {"<a>\r\r&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
      {"<a>\n\r&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
      {"<a>\r\r\n&", SIMPLE_XML_ILLEGAL_AMPERSAND, 3},
      {"<a>\r", SIMPLE_XML_UNEXPECTED_END, 1},
      {"<a>\r\n", SIMPLE_XML_UNEXPECTED_END, 2},
      {"<a>\n\r", SIMPLE_XML_UNEXPECTED_END, 2},
      {"<a>&#10;&#13; &", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
      {"<a>&\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},
      {"<a>&#\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 2},
      {"<a>&#1\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 2},
      {"<a>&#x1\r\n", SIMPLE_XML_ILLEGAL_AMPERSAND, 1},  // between CR and LF
      {"<a b\n=\n1>", SIMPLE_XML_QUOTE_EXPECTED, 3},
      {"<a b>\n<c/></a>", SIMPLE_XML_EQUAL_SIGN_EXPECTED, 2},
      {"<a b='1'\n/ >", SIMPLE_XML_GREATER_THAN_EXPECTED, 2},
      {"<a>\n</b\n>", SIMPLE_XML_MISMATCHED_END_TAG, 3},
      {"\0\n\r\n "sv, SIMPLE_XML_NO_DOCUMENT_TAG, 3},
      {"<a\n b\n=\n'\n'\n>", SIMPLE_XML_UNEXPECTED_END, 6},
      {"<?\n?><!--\n--><!DOCTYPE\n[<\n>]><a><!\n></a\n", SIMPLE_XML_UNEXPECTED_END, 7},
  };
  for (const auto& [document, error, line] : rows) {
    const outcome got = parse(document);
    EXPECT_EQ(got.error, error) << printable(document);
    EXPECT_EQ(got.line, line) << printable(document);
  }
}

TEST(Parser, TellsWhatCameBeforeAFailureAndNothingAfterIt) {
  constexpr struct {
    std::string_view document, events;
  } rows[] = {
      {"<a b='1' c>", "0 start a|1 attr a b=1"},
      {"<a b='1'/ >", "0 start a|1 attr a b=1"},
      {"<a b='1' ", "0 start a"},
      {"<a b='1'><c>t</a>",
       "0 start a|1 attr a b=1|1 attrs-end a|1 start c|2 attrs-end c|2 content c t"},
      {"<a><b/>t&", "0 start a|1 attrs-end a|1 start b|2 attrs-end b|2 end b"},
      {"<a><b ", "0 start a|1 attrs-end a"},
      {"<a>t</b><c/>", "0 start a|1 attrs-end a|1 content a t"},
      {"<a><n><b></n></a>", "0 start a|1 attrs-end a|1 start n"},
  };
  for (const auto& [document, events] : rows) {
    const outcome got = parse(document);
    EXPECT_NE(got.error, SIMPLE_XML_NO_ERROR) << document;
    EXPECT_EQ(got.event_text(), events) << document;
  }
}

TEST(Parser, TellsHandlersTheLineThatItHasReached) {
  EXPECT_EQ(
      parse("<?p\n?>\r<a\n x='\r\n'\n>t\n<b/>\n\n<!--\n--></a\n>", {.with_lines = true}).text(),
      "error 0 on line 11: 0 start a@4|1 attr a x=\\x0d\\x0a@6|1 attrs-end a@6|"
      "1 content a t\\x0a@7|1 start b@7|2 attrs-end b@7|2 end b@7|1 content a \\x0a\\x0a@9|"
      "1 end a@11");
}

TEST(Parser, StopsAtTheEventInWhichAHandlerAborts) {
  const outcome whole = parse(sample);
  ASSERT_EQ(whole.error, SIMPLE_XML_NO_ERROR);
  for (int at = 0; at < static_cast<int>(whole.events.size()); ++at) {
    for (const std::int32_t code : {-1, 0, 1, 2, 999, 1000, 1001, largest}) {
      const outcome got = parse(sample, {.abort_at = at, .abort_code = code});
      const std::string what = whole.events[static_cast<std::size_t>(at)] + std::to_string(code);
      if (code < SIMPLE_XML_USER_ABORT) {
        EXPECT_EQ(got, whole) << what;
      } else {
        EXPECT_EQ(got.error, code) << what;
        EXPECT_EQ(got.events, std::vector(whole.events.begin(), whole.events.begin() + at + 1))
            << what;
      }
    }
  }
}

TEST(Parser, DescribesEveryCode) {
  const xml_parser_ptr parser = parser_over(sample);
  constexpr const char* none = nullptr;
  constexpr const char *unknown = "unknown error", *aborted = "parsing aborted";
  constexpr struct {
    std::int32_t code;
    const char* text;
  } rows[] = {{0, none},
              {1, "parsing has not yet started"},
              {2, "out of memory"},
              {3, "unexpected end of xml data"},
              {4, "illegal use of ampersand (&)"},
              {5, "unicode characters are not supported"},
              {6, "greater than sign (>) expected"},
              {7, "quote (either ' or \") expected"},
              {8, "illegal xml handler specified"},
              {9, "xml parser not initialized"},
              {10, "no document tag found"},
              {11, "mismatched end tag"},
              {12, "attribute expected"},
              {13, "equal sign (=) expected"},
              {14, unknown},
              {999, unknown},
              {-1, unknown},
              {std::numeric_limits<std::int32_t>::min(), unknown},
              {1000, aborted},
              {largest, aborted}};
  for (const auto& [code, text] : rows) {
    parser->error = code;
    EXPECT_STREQ(simpleXmlGetErrorDescription(parser.get()), text) << code;
    EXPECT_STREQ(getSimpleXmlParseErrorDescription(parser.get()), text) << code;
  }
}

TEST(Parser, IsMadeOverADocumentOnly) {
  EXPECT_EQ(simpleXmlCreateParser(nullptr, 1), nullptr);
  EXPECT_EQ(simpleXmlCreateParser("<a/>", 0), nullptr);
  EXPECT_EQ(simpleXmlCreateParser("<a/>", -1), nullptr);
  EXPECT_EQ(createSimpleXmlParser(nullptr, 1), nullptr);

  const xml_parser_ptr parser(createSimpleXmlParser(sample.data(), 7));
  ASSERT_NE(parser, nullptr);
  EXPECT_EQ(parser->error, SIMPLE_XML_NOT_STARTED);
  EXPECT_EQ(parser->valueBuffer->size, 512);
  EXPECT_EQ(parser->valueBuffer->length, 0);
  EXPECT_EQ(parser->attributeName, nullptr);
  EXPECT_EQ(parser->attributeNameSize, 0);
  EXPECT_EQ(parser->inputData, sample.data());
  EXPECT_EQ(parser->inputLength, 7);
  EXPECT_EQ(parser->inputPosition, 0);
  EXPECT_EQ(parser->lineBreaks, 0);
  EXPECT_EQ(simpleXmlGetLineNumber(parser.get()), 1);
  EXPECT_EQ(simpleXmlGetUserData(parser.get()), nullptr);
}

TEST(Parser, SurvivesANullParser) {
  EXPECT_NE(simpleXmlParse(nullptr, simpleXmlNopHandler), SIMPLE_XML_NO_ERROR);
  EXPECT_EQ(simpleXmlInitializeParser(nullptr, "<a/>", 4), 0);
  EXPECT_EQ(simpleXmlGetLineNumber(nullptr), -1);
  EXPECT_EQ(simpleXmlGetErrorDescription(nullptr), nullptr);
  simpleXmlParseAbort(nullptr, SIMPLE_XML_USER_ABORT);
  simpleXmlDestroyParser(nullptr);
  destroySimpleXmlParser(nullptr);
}

TEST(Parser, ParsesOnceForEachInitialisation) {
  const xml_parser_ptr parser = parser_over(sample);
  const auto parse_with = [&](SimpleXmlTagHandler handler) {
    return simpleXmlParse(parser.get(), handler);
  };
  EXPECT_EQ(parse_with(simpleXmlNopHandler), 0);
  EXPECT_EQ(parser->error, 0);
  EXPECT_EQ(parse_with(simpleXmlNopHandler), 9);
  EXPECT_EQ(parse_with(nullptr), 8) << "the handler is looked at first";
  EXPECT_EQ(parse_with(simpleXmlNopHandler), 9);

  ASSERT_EQ(simpleXmlInitializeParser(parser.get(), "<a>", 3), 1);
  EXPECT_EQ(parse_with(nullptr), 8);
  EXPECT_STREQ(simpleXmlGetErrorDescription(parser.get()), "illegal xml handler specified");
  EXPECT_EQ(parse_with(simpleXmlNopHandler), 9) << "a null handler spends the parser";

  ASSERT_EQ(initializeSimpleXmlParser(parser.get(), "<a>", 3), 1);
  EXPECT_EQ(parseSimpleXml(parser.get(), simpleXmlNopHandler), 0);
  EXPECT_EQ(parser->error, SIMPLE_XML_UNEXPECTED_END);
  EXPECT_EQ(parse_with(simpleXmlNopHandler), 9) << "a failure spends it too";
  ASSERT_EQ(initializeSimpleXmlParser(parser.get(), "<a/>", 4), 1);
  EXPECT_EQ(parseSimpleXml(parser.get(), simpleXmlNopHandler), 1);
}

// Whatever a document leaves behind, the next one is parsed as with a new parser.
TEST(Parser, InitialisesAfreshAfterEveryDocument) {
  const xml_parser_ptr parser = parser_over("<a");
  const auto parse_again = [&](std::string_view bytes) {
    EXPECT_EQ(simpleXmlInitializeParser(parser.get(), bytes.data(),
                                        static_cast<std::int32_t>(bytes.size())),
              1);
    EXPECT_EQ(parser->error, SIMPLE_XML_NOT_STARTED);
    EXPECT_EQ(parser->valueBuffer->length, 0);
    EXPECT_EQ(simpleXmlGetUserData(parser.get()), nullptr);
    EXPECT_EQ(simpleXmlGetLineNumber(parser.get()), 1);
    return recorder({}).parse(parser.get());
  };
  for (const std::string_view bytes : all_documents()) {
    EXPECT_EQ(parse_again(bytes), parse(bytes)) << printable(bytes);
    EXPECT_EQ(parse_again(sample), parse(sample)) << "after " << printable(bytes);
  }
}

TEST(Parser, IsUnchangedByAnInitialisationThatIsRefused) {
  const xml_parser_ptr parser = parser_over("\n<a/>");
  int value = 0;
  simpleXmlPushUserData(parser.get(), &value);
  const auto refuse_all = [&] {
    EXPECT_EQ(simpleXmlInitializeParser(parser.get(), nullptr, 4), 0);
    EXPECT_EQ(simpleXmlInitializeParser(parser.get(), "<b/>", 0), 0);
    EXPECT_EQ(simpleXmlInitializeParser(parser.get(), "<b/>", -1), 0);
    EXPECT_EQ(simpleXmlGetUserData(parser.get()), &value);
  };
  refuse_all();
  EXPECT_EQ(simpleXmlParse(parser.get(), simpleXmlNopHandler), 0);
  EXPECT_EQ(simpleXmlGetLineNumber(parser.get()), 2);
  refuse_all();
  EXPECT_EQ(simpleXmlParse(parser.get(), simpleXmlNopHandler), 9);

  SimpleXmlValueBuffer* const buffer = std::exchange(parser->valueBuffer, nullptr);
  EXPECT_EQ(simpleXmlInitializeParser(parser.get(), "<b/>", 4), 0) << "without a value buffer";
  parser->valueBuffer = buffer;
}

TEST(Parser, ChecksWhatTheNopHandlerIgnores) {
  EXPECT_EQ(simpleXmlNopHandler(nullptr, 0, nullptr, nullptr, nullptr),
            SimpleXmlTagHandler(simpleXmlNopHandler));
  for (const auto& row : accepted_documents) {
    EXPECT_EQ(simpleXmlParse(parser_over(row.bytes).get(), simpleXmlNopHandler), 0) << row.bytes;
  }
  for (const auto& [error, documents] : refused_documents) {
    for (const std::string_view bytes : documents) {
      EXPECT_EQ(simpleXmlParse(parser_over(bytes).get(), simpleXmlNopHandler), error)
          << printable(bytes);
    }
  }
}

TEST(Parser, StacksUserData) {
  const xml_parser_ptr owned = parser_over(sample);
  SimpleXmlParser* const parser = owned.get();
  int values[100];
  EXPECT_EQ(simpleXmlPopUserData(parser), nullptr);
  EXPECT_EQ(simpleXmlGetUserDataAt(parser, 0), nullptr);
  for (int& value : values) {
    EXPECT_EQ(simpleXmlPushUserData(parser, &value), 1);
    EXPECT_EQ(simpleXmlPushUserData(parser, nullptr), 0);
    EXPECT_EQ(simpleXmlGetUserData(parser), &value);
  }
  for (int level = 0; level < 100; ++level) {
    EXPECT_EQ(simpleXmlGetUserDataAt(parser, level), &values[99 - level]) << level;
  }
  for (const std::int32_t level : {-1, -largest - 1, 100, 101, largest}) {
    EXPECT_EQ(simpleXmlGetUserDataAt(parser, level), nullptr) << level;
  }
  for (int top = 99; top >= 0; --top) EXPECT_EQ(simpleXmlPopUserData(parser), &values[top]) << top;
  EXPECT_EQ(simpleXmlPopUserData(parser), nullptr);
  EXPECT_EQ(simpleXmlGetUserData(parser), nullptr);

  EXPECT_EQ(simpleXmlPushUserData(nullptr, values), 0);
  EXPECT_EQ(simpleXmlPopUserData(nullptr), nullptr);
  EXPECT_EQ(simpleXmlGetUserData(nullptr), nullptr);
  EXPECT_EQ(simpleXmlGetUserDataAt(nullptr, 0), nullptr);
}

// A handler's own record for each element, and a parse of its own in the middle of another.
struct nesting_log {
  std::vector<int> depths;
  outcome inner;
};

SimpleXmlTagHandler log_depth(SimpleXmlParser* parser, std::int32_t event, const char*, const char*,
                              const char*) {
  static char level;
  int depth = 0;
  while (simpleXmlGetUserDataAt(parser, depth) == &level) ++depth;
  auto* log = static_cast<nesting_log*>(simpleXmlGetUserDataAt(parser, depth));
  if (event == SIMPLE_XML_EVENT_SUBTAG_START) {
    simpleXmlPushUserData(parser, &level);
    log->inner = parse(sample);
  }
  if (event == SIMPLE_XML_EVENT_TAG_END) {
    simpleXmlPopUserData(parser);
    log->depths.push_back(depth);
  }
  return log_depth;
}

TEST(Parser, LeavesUserDataAndFurtherParsersToItsHandlers) {
  const xml_parser_ptr parser = parser_over("<a><b><c/>\n</b><d>t</d>\n&#65;</a>");
  nesting_log log;
  simpleXmlPushUserData(parser.get(), &log);
  EXPECT_EQ(simpleXmlParse(parser.get(), log_depth), 0);
  EXPECT_EQ(simpleXmlGetLineNumber(parser.get()), 3);
  EXPECT_THAT(log.depths, testing::ElementsAre(3, 2, 2, 1));
  EXPECT_EQ(log.inner, parse(sample));
  EXPECT_EQ(simpleXmlPopUserData(parser.get()), &log) << "a parse leaves the stack alone";
}

}  // namespace
}  // namespace ruvex
