#include "ruvex/xml/parser.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "xml/documents.h"
#include "xml/recorder.h"

namespace ruvex {
namespace {

constexpr std::string_view sample = "<a x='1' y='2'>t<b z='3'/>\nu<n/></a>";
constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

xml_parser_ptr parser_over(std::string_view document) {
  return xml_parser_ptr(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
}

// After an event behind the first line stand "@" and its line.
TEST(Parser, TellsEventsAndTheirLines) {
  constexpr struct {
    std::string_view document, told;
    decltype(&simpleXmlParse) run = simpleXmlParse;
  } rows[] = {
      {"<a x=\"1\" y='2'>t<b/>u</a>",
       "error 0 on line 1: 0 start a|1 attr a x=1|1 attr a y=2|1 attrs-end a|1 content a t|"
       "1 start b|2 attrs-end b|2 end b|1 content a u|1 end a"},
      {"<a><b><c/></b><n x=\"1\">t<d/></n>u</a>",
       "error 0 on line 1: 0 start a|1 attrs-end a|1 start b|2 attrs-end b|2 start c|"
       "3 attrs-end c|3 end c|2 end b|1 start n|1 content a u|1 end a"},
      {"\0\r<!DOCTYPE b [<!c>\n]> <?p?><!-- > --><a\n></a >&<"sv,
       "error 0 on line 4: 0 start a@4|1 attrs-end a@4|1 end a@4"},
      {"<a b=''c = \"'&lt;&#x4A;&#74;&#0;>\"/>",
       "error 0 on line 1: 0 start a|1 attr a b=|1 attr a c='<JJ\\x00>|1 attrs-end a|1 end a"},
      {"<a>1<!-- -->2<?p?>3<![CDATA[q]]>\r\n</a>",
       "error 0 on line 2: 0 start a|1 attrs-end a|1 content a 1|1 content a 2|1 content a 3|"
       "1 content a \\x0d\\x0a@2|1 end a@2"},
      {"<a b='1'\n c>\n<", "error 13 on line 3: 0 start a|1 attr a b=1@2"},
      {"<a b\n=\n1>", "error 7 on line 3: 0 start a"},
      {"<a>t\n</b\r\r>\n<c/>", "error 11 on line 4: 0 start a|1 attrs-end a|1 content a t\\x0a@2"},
      {"<a>\r\r\n<b/>t&\n",
       "error 4 on line 3: 0 start a|1 attrs-end a|1 content a \\x0d\\x0d\\x0a@3|"
       "1 start b@3|2 attrs-end b@3|2 end b@3"},
      {"<a>&#x1\r\n", "error 4 on line 1: 0 start a|1 attrs-end a"},  // between CR and LF
      {"\n<!-- -->", "error 10 on line 2"},
      {"<n/><?p?>\n<n/> ", "error 0 on line 2: 0 start n|0 start n@2", simpleXmlParseSequence},
      {"<n/>\ntext\n<n/>", "error 10 on line 2: 0 start n", simpleXmlParseSequence},
      {"<n/></n>", "error 11 on line 1: 0 start n", simpleXmlParseSequence},
  };
  for (const auto& [document, told, run] : rows) {
    EXPECT_EQ(parse(document, {.with_lines = true, .run = run}).text(), told);
  }
}

// Of a document that is cut anywhere, what was whole is told, and nothing else.
TEST(Parser, TellsTheBeginningOfWhatIsCut) {
  for (const std::string_view document : all_documents()) {
    const outcome whole = parse(document, {.with_lines = true});
    for (std::size_t size = 1; size < document.size(); ++size) {
      const outcome cut = parse(document.substr(0, size), {.with_lines = true});
      const bool is_whole = cut.error == 0 && whole.error == 0;  // the rest is behind the element
      EXPECT_TRUE(is_whole ? cut == whole : cut.error != 0) << printable(document) << size;
      EXPECT_LE(cut.events.size(), whole.events.size()) << printable(document) << size;
      EXPECT_TRUE(std::equal(cut.events.begin(), cut.events.end(), whole.events.begin()))
          << cut.text() << "\n"
          << whole.text();
    }
  }
}

TEST(Parser, TellsAndDescribesTheFailure) {
  for (const auto& [error, description, documents] : document_groups) {
    for (const std::string_view bytes : documents) {
      EXPECT_EQ(parse(bytes).error, error) << printable(bytes);
      const xml_parser_ptr ignoring = parser_over(bytes);
      EXPECT_EQ(simpleXmlParse(ignoring.get(), simpleXmlNopHandler), error) << printable(bytes);
      EXPECT_STREQ(simpleXmlGetErrorDescription(ignoring.get()), description);
    }
  }
  EXPECT_EQ(simpleXmlNopHandler(nullptr, 0, nullptr, nullptr, nullptr),
            SimpleXmlTagHandler(simpleXmlNopHandler));
}

TEST(Parser, StopsAtTheEventInWhichAHandlerAborts) {
  const outcome whole = parse(sample);
  for (int at = 0; at < static_cast<int>(whole.events.size()); ++at) {
    for (const std::int32_t code : {-1, 1, 999}) {
      EXPECT_EQ(parse(sample, {.abort_at = at, .abort_code = code}), whole) << at << " " << code;
    }
    for (const std::int32_t code : {1000, largest}) {
      const outcome got = parse(sample, {.abort_at = at, .abort_code = code});
      EXPECT_EQ(got.error, code);
      EXPECT_EQ(got.events, std::vector(whole.events.begin(), whole.events.begin() + at + 1));
    }
  }
}

TEST(Parser, DescribesOtherCodes) {
  const xml_parser_ptr parser = parser_over(sample);
  std::string all;
  for (const std::int32_t code : {1, 2, 8, 9, 12, 14, 999, -1, 1000, largest}) {
    parser->error = code;
    all.append(simpleXmlGetErrorDescription(parser.get())) += '|';
  }
  EXPECT_EQ(all,
            "parsing has not yet started|out of memory|illegal xml handler specified|"
            "xml parser not initialized|attribute expected|unknown error|unknown error|"
            "unknown error|parsing aborted|parsing aborted|");
}

TEST(Parser, SurvivesWhatIsNone) {
  EXPECT_EQ(simpleXmlCreateParser(nullptr, 1), nullptr);
  EXPECT_EQ(simpleXmlCreateParser("<a/>", 0), nullptr);
  EXPECT_NE(simpleXmlParse(nullptr, simpleXmlNopHandler), SIMPLE_XML_NO_ERROR);
  EXPECT_NE(simpleXmlParseSequence(nullptr, simpleXmlNopHandler), SIMPLE_XML_NO_ERROR);
  EXPECT_EQ(simpleXmlInitializeParser(nullptr, "<a/>", 4), 0);
  EXPECT_EQ(simpleXmlGetLineNumber(nullptr), -1);
  EXPECT_EQ(simpleXmlGetErrorDescription(nullptr), nullptr);
  int value = 0;
  EXPECT_EQ(simpleXmlPushUserData(nullptr, &value), 0);
  EXPECT_EQ(simpleXmlPopUserData(nullptr), nullptr);
  simpleXmlParseAbort(nullptr, SIMPLE_XML_USER_ABORT);
  simpleXmlDestroyParser(nullptr);
}

TEST(Parser, ParsesOnceForEachInitialisationThatIsNotRefused) {
  const xml_parser_ptr owned = parser_over("\n<a/>");
  SimpleXmlParser* const parser = owned.get();
  const auto refuse_all = [parser] {
    EXPECT_EQ(simpleXmlInitializeParser(parser, nullptr, 4), 0);
    EXPECT_EQ(simpleXmlInitializeParser(parser, "<b>", 0), 0);
  };
  refuse_all();
  EXPECT_EQ(recorder({}).parse(parser), parse("\n<a/>"));
  EXPECT_NE(simpleXmlPopUserData(parser), nullptr) << "a parse leaves the stack alone";
  refuse_all();
  EXPECT_EQ(simpleXmlParse(parser, simpleXmlNopHandler), 9);
  EXPECT_EQ(simpleXmlParse(parser, nullptr), 8) << "the handler is looked at first";
  for (const bool has_handler : {true, false}) {
    ASSERT_EQ(simpleXmlInitializeParser(parser, "<a>", 3), 1);
    const auto handler = has_handler ? SimpleXmlTagHandler(simpleXmlNopHandler) : nullptr;
    EXPECT_EQ(simpleXmlParse(parser, handler), has_handler ? 3 : 8);
    EXPECT_EQ(simpleXmlParse(parser, simpleXmlNopHandler), 9) << "a failure spends it";
  }
  const value_buffer_ptr buffer(std::exchange(parser->valueBuffer, nullptr));
  EXPECT_EQ(simpleXmlInitializeParser(parser, "<b/>", 4), 0) << "without a value buffer";
}

// Whatever a document leaves behind, the next one is parsed as with a new parser.
TEST(Parser, InitialisesAfreshAfterEveryDocument) {
  const xml_parser_ptr parser = parser_over("<a");
  const auto parse_again = [&](std::string_view bytes) {
    EXPECT_EQ(simpleXmlInitializeParser(parser.get(), bytes.data(),
                                        static_cast<std::int32_t>(bytes.size())),
              1);
    EXPECT_EQ(parser->valueBuffer->length, 0);
    EXPECT_EQ(simpleXmlGetUserData(parser.get()), nullptr);
    return recorder({}).parse(parser.get());
  };
  for (const std::string_view bytes : all_documents()) {
    EXPECT_EQ(parse_again(bytes), parse(bytes)) << printable(bytes);
    EXPECT_EQ(parse_again(sample), parse(sample)) << "after " << printable(bytes);
  }
}

SimpleXmlTagHandler start_over(SimpleXmlParser* parser, std::int32_t, const char*, const char*,
                               const char*) {
  simpleXmlInitializeParser(parser, sample.data(), static_cast<std::int32_t>(sample.size()));
  return nullptr;
}

// That ends the parse; the document given then is parsed whole.
TEST(Parser, MayBeInitialisedByAHandler) {
  const xml_parser_ptr parser = parser_over("<a>t</a>");
  EXPECT_EQ(simpleXmlParse(parser.get(), start_over), SIMPLE_XML_NOT_STARTED);
  EXPECT_EQ(recorder({}).parse(parser.get()), parse(sample));
}

TEST(Parser, StacksUserData) {
  const xml_parser_ptr owned = parser_over(sample);
  SimpleXmlParser* const parser = owned.get();
  int values[100];
  for (int& value : values) {
    EXPECT_EQ(simpleXmlPushUserData(parser, &value), 1);
    EXPECT_EQ(simpleXmlPushUserData(parser, nullptr), 0);
  }
  for (int level = -1; level <= 100; ++level) {
    void* const expected = level < 0 || level == 100 ? nullptr : &values[99 - level];
    EXPECT_EQ(simpleXmlGetUserDataAt(parser, level), expected) << level;
  }
  EXPECT_EQ(simpleXmlGetUserDataAt(parser, -largest - 1), nullptr);
  for (int top = 99; top >= 0; --top) EXPECT_EQ(simpleXmlPopUserData(parser), &values[top]) << top;
  EXPECT_EQ(simpleXmlPopUserData(parser), nullptr);
}

}  // namespace
}  // namespace ruvex
