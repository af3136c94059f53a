#include "xml/tokenizer.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <string>

#include "gtest/gtest.h"
#include "xml/recorder.h"

namespace ruvex {
namespace {

using namespace std::string_view_literals;

constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();

// A parser in the middle of its work, over a document in an exact block.
class cursor {
 public:
  explicit cursor(std::string_view document, std::int32_t position = 0)
      : block_(document), parser_(simpleXmlCreateParser(block_.data(), block_.size())) {
    parser_->error = SIMPLE_XML_NO_ERROR;
    parser_->inputPosition = position;
  }
  SimpleXmlParser* get() const { return parser_.get(); }
  SimpleXmlParser* operator->() const { return parser_.get(); }
  std::string_view text() const {
    return {parser_->valueBuffer->data, static_cast<std::size_t>(parser_->valueBuffer->length)};
  }

 private:
  exact_block block_;
  xml_parser_ptr parser_;
};

TEST(Tokenizer, PeeksInsideTheDocumentOnly) {
  const cursor at("a\xff\0c"sv, 1);
  constexpr struct {
    std::int32_t offset;
    int byte;
  } rows[] = {{-2, 0}, {-1, 'a'}, {0, 255}, {1, 0}, {2, 'c'}, {3, 0}, {largest, 0}, {-largest, 0}};
  for (const auto& [offset, byte] : rows) {
    EXPECT_EQ(peekInputCharAt(at.get(), offset), byte) << offset;
  }
  EXPECT_EQ(peekInputChar(at.get()), 255);
  for (const std::int32_t position : {-1, -largest, 4, 5, largest}) {
    at->inputPosition = position;
    EXPECT_EQ(peekInputChar(at.get()), 0) << position;
  }
  at->inputPosition = 5;
  EXPECT_EQ(peekInputCharAt(at.get(), -1), 0) << "just behind the document";
  EXPECT_EQ(peekInputCharAt(at.get(), -2), 'c') << "back inside it";
  EXPECT_EQ(at->error, SIMPLE_XML_NO_ERROR);
}

TEST(Tokenizer, CountsLineBreaksAsItSkips) {
  constexpr struct {
    std::string_view document;
    std::int32_t skipped, breaks;
  } rows[] = {{"ab", 1, 0},       {"\n\n\n", 0, 0},  {"\n\n\n", -1, 0},  {"\n\n\n", 2, 2},
              {"\n\n\n", 3, 3},   {"\n\n\n", 9, 3},  {"\r\n\r\n", 1, 0}, {"\r\n\r\n", 2, 1},
              {"\r\n\r\n", 4, 2}, {"\r\r\r", 1, 1},  {"\r\r\r", 3, 2},   {"\r", 1, 0},
              {"\r", 2, 0},       {"\n\r", 2, 1},    {"\n\ra", 2, 2},    {"\r\r\n\n", 4, 3},
              {"\r\0"sv, 1, 1},   {"\v\f\x85", 3, 0}};
  for (const auto& [document, skipped, breaks] : rows) {
    const cursor whole(document), stepwise(document), read(document);
    skipInputChars(whole.get(), skipped);
    for (int count = 0; count < skipped; ++count) {
      skipInputChar(stepwise.get());
      readInputChar(read.get());
    }
    const std::string what = printable(document) + " " + std::to_string(skipped);
    const std::int32_t position = std::max(skipped, 0);
    EXPECT_EQ(whole->inputPosition, position) << what << ": also beyond the end";
    EXPECT_EQ(stepwise->inputPosition, position) << what;
    EXPECT_EQ(read->inputPosition, std::min(position, read->inputLength)) << what;
    EXPECT_EQ(whole->lineBreaks, breaks) << what;
    EXPECT_EQ(stepwise->lineBreaks, breaks) << what;
    for (const cursor* at : {&whole, &stepwise, &read}) {
      EXPECT_EQ(simpleXmlGetLineNumber(at->get()), breaks + 1) << what;
    }
  }
  const cursor far("\n\n");
  skipInputChars(far.get(), largest);
  skipInputChars(far.get(), largest);
  EXPECT_EQ(far->lineBreaks, 2);
  EXPECT_EQ(peekInputChar(far.get()), 0);
}

TEST(Tokenizer, ReadsBytesUpToTheEnd) {
  const cursor at("a\0\xff"sv);
  for (const int byte : {int{'a'}, 0, 255}) {
    EXPECT_EQ(readInputChar(at.get()), byte);
    EXPECT_EQ(at->error, SIMPLE_XML_NO_ERROR) << byte;
  }
  EXPECT_EQ(readInputChar(at.get()), 0);
  EXPECT_EQ(at->error, SIMPLE_XML_UNEXPECTED_END);
}

TEST(Tokenizer, SkipsWhiteSpace) {
  constexpr struct {
    std::string_view document;
    int result;
    std::int32_t position;
  } rows[] = {{"a", 1, 0},    {" a ", 1, 1},  {"\0\x01\t\n\r\x1f !"sv, 1, 7},
              {"\x7f", 1, 0}, {"\x80", 1, 0}, {"\xff", 1, 0},
              {" ", 0, 1},    {"\0"sv, 0, 1}};
  for (const auto& [document, result, position] : rows) {
    const cursor at(document);
    EXPECT_EQ(skipWhitespace(at.get()), result) << printable(document);
    EXPECT_EQ(at->inputPosition, position) << printable(document);
    EXPECT_EQ(at->error, result ? SIMPLE_XML_NO_ERROR : SIMPLE_XML_UNEXPECTED_END);
  }
  const cursor beyond("a", 1);
  EXPECT_EQ(skipWhitespace(beyond.get()), 0);
  EXPECT_EQ(beyond->error, SIMPLE_XML_UNEXPECTED_END);
}

TEST(Tokenizer, AppendsToTheText) {
  const cursor at("<a/>");
  EXPECT_EQ(addNextTokenCharValue(at.get(), '\0'), 1);
  EXPECT_EQ(addNextTokenStringValue(at.get(), std::string(600, 'x').c_str()), 1);
  EXPECT_EQ(at.text(), std::string(1, '\0') + std::string(600, 'x'));
  EXPECT_EQ(at->valueBuffer->size, 1024);
}

TEST(Tokenizer, ReadsOneCharacter) {
  constexpr struct {
    std::string_view document, text;
    std::int32_t position, error;
  } rows[] = {{"ab", "a", 1, 0},        {"\0b"sv, "\0"sv, 1, 0},   {"\xff", "\xff", 1, 0},
              {"<", "<", 1, 0},         {"&lt;lt;", "<", 4, 0},    {"&gt;;", ">", 4, 0},
              {"&amp;amp;", "&", 5, 0}, {"&apos;'", "'", 6, 0},    {"&quot;\"", "\"", 6, 0},
              {"&#65;6", "A", 5, 0},    {"&#0;", "\0"sv, 4, 0},    {"&#x;a", "\0"sv, 4, 0},
              {"&#x4a;", "J", 6, 0},    {"&#x4A;", "J", 6, 0},     {"&#255;", "\xff", 6, 0},
              {"&#xff;", "\xff", 6, 0}, {"&#0255;", "\xff", 7, 0}, {"&#256;", "", 6, 5},
              {"&#x100;", "", 7, 5},    {"&", "", 1, 4},           {"&l", "", 1, 4},
              {"&ltt;", "", 1, 4},      {"&Lt;", "", 1, 4},        {"&#", "", 2, 4},
              {"&#a;", "", 3, 4},       {"&#;", "", 3, 4},         {"&#X4;", "", 3, 4},
              {"&#x", "", 3, 4},        {"&#xg;", "", 4, 4},       {"&#9", "", 3, 4},
              {"&#9a;", "", 4, 4}};
  for (const auto& [document, text, position, error] : rows) {
    const cursor at(document);
    EXPECT_EQ(readChar(at.get()), error == 0) << printable(document);
    EXPECT_EQ(at->error, error) << printable(document);
    EXPECT_EQ(at.text(), text) << printable(document);
    EXPECT_EQ(at->inputPosition, position) << printable(document);
  }
  const cursor beyond("a", 1);
  EXPECT_EQ(readChar(beyond.get()), 0);
  EXPECT_EQ(beyond->error, SIMPLE_XML_UNEXPECTED_END);
}

TEST(Tokenizer, TakesDigitsOfTheBaseOnly) {
  for (int byte = 0; byte < 256; ++byte) {
    for (const std::string start : {"&#0", "&#x0"}) {
      const bool is_hex = start == "&#x0";
      const std::string document = start + static_cast<char>(byte) + ";";
      const cursor at(document);
      const bool is_digit = is_hex ? std::isxdigit(byte) != 0 : std::isdigit(byte) != 0;
      EXPECT_EQ(readChar(at.get()), is_digit || byte == ';') << printable(document);
      if (!is_digit) continue;
      const int value = std::stoi(std::string(1, static_cast<char>(byte)), nullptr, 16);
      EXPECT_EQ(at.text(), std::string(1, static_cast<char>(value))) << document;
    }
  }
}

struct token_row {
  std::string_view document;
  SimpleXmlToken kind;
  std::string_view text;
  std::int32_t position;
};

TEST(Tokenizer, ReadsTokensOfContent) {
  constexpr token_row rows[] = {
      {"<ab>", TOKEN_TAG_START, "ab", 3},
      {"<ab \n/>", TOKEN_TAG_START, "ab", 5},
      {"<a/>", TOKEN_TAG_START, "a", 2},
      {"<>", TOKEN_TAG_START, "", 1},
      {"<&gt;>", TOKEN_TAG_START, ">", 5},
      {"</ab>c", TOKEN_TAG_END, "ab", 5},
      {"</a/b c='>'>", TOKEN_TAG_END, "a/b", 10},
      {"</>", TOKEN_TAG_END, "", 3},
      {"<?p &amp;?>q", TOKEN_PROCESSING_INSTRUCTION, "p &", 11},
      {"<!DOCTYPE a [<b>]>c", TOKEN_DOCTYPE, " a [<b>]", 18},
      {"<!DOCTYPE&gt;>>", TOKEN_DOCTYPE, ">", 14},
      {"<!--a->-&gt;-->-->", TOKEN_COMMENT, "a->->", 15},
      {"<![CDATA[a>b]]>", TOKEN_DECLARATION, "[CDATA[a", 11},
      {"<!doctype <>>", TOKEN_DECLARATION, "doctype <", 12},
      {"<!DOCTYP>", TOKEN_DECLARATION, "DOCTYP", 9},
      {"<!->", TOKEN_DECLARATION, "-", 4},
      {"<!>", TOKEN_DECLARATION, "", 3},
      {" a>&#60;\0\r\n<"sv, TOKEN_CONTENT, " a><\0\r\n"sv, 11},
  };
  for (const auto& [document, kind, text, position] : rows) {
    const cursor at(document);
    EXPECT_EQ(readNextContentToken(at.get()), 1) << printable(document);
    EXPECT_EQ(at->tokenType, kind) << printable(document);
    EXPECT_EQ(at.text(), text) << printable(document);
    EXPECT_EQ(at->inputPosition, position) << printable(document);
  }
}

TEST(Tokenizer, ReadsTokensOfATag) {
  constexpr token_row rows[] = {
      {">a", TOKEN_TAG_CLOSE, "", 1},        {"/>a", TOKEN_TAG_END, "", 2},
      {"b='1'\n>", TOKEN_ATTRIBUTE, "1", 6}, {"b = \"'&lt;<>\"c", TOKEN_ATTRIBUTE, "'<<>", 13},
      {"b=''/", TOKEN_ATTRIBUTE, "", 4},     {"&#98;='\r\n'>", TOKEN_ATTRIBUTE, "\r\n", 10},
  };
  for (const auto& [document, kind, text, position] : rows) {
    const cursor at(document);
    EXPECT_EQ(readNextTagToken(at.get()), 1) << printable(document);
    EXPECT_EQ(at->tokenType, kind) << printable(document);
    EXPECT_EQ(at.text(), text) << printable(document);
    EXPECT_EQ(at->inputPosition, position) << printable(document);
    EXPECT_STREQ(at->attributeName, kind == TOKEN_ATTRIBUTE ? "b" : nullptr);
  }
}

TEST(Tokenizer, KeepsAnAttributeNameWhereItFits) {
  const cursor at("abc='1' d='2' ef&#0;=\"\" abcde='3' >");
  constexpr struct {
    std::string_view name;
    std::int32_t room;
  } rows[] = {{"abc", 4}, {"d", 4}, {"ef\0"sv, 4}, {"abcde", 6}};
  for (const auto& [name, room] : rows) {
    ASSERT_EQ(readNextTagToken(at.get()), 1) << name;
    EXPECT_EQ(at->attributeNameSize, room) << name;
    EXPECT_EQ(std::string_view(at->attributeName, name.size()), name);
    EXPECT_EQ(at->attributeName[name.size()], '\0') << name;
    clearSimpleXmlValueBuffer(at->valueBuffer);
  }
}

TEST(Tokenizer, FailsWithAReason) {
  constexpr struct {
    int (*reader)(SimpleXmlParser*) noexcept;
    std::string_view document;
    SimpleXmlError error;
  } rows[] = {{readNextContentToken, "t", SIMPLE_XML_UNEXPECTED_END},
              {readNextContentToken, "t&", SIMPLE_XML_ILLEGAL_AMPERSAND},
              {readNextContentToken, "<a", SIMPLE_XML_UNEXPECTED_END},
              {readNextContentToken, "</a", SIMPLE_XML_UNEXPECTED_END},
              {readNextContentToken, "<!", SIMPLE_XML_UNEXPECTED_END},
              {readNextTagToken, "/ >", SIMPLE_XML_GREATER_THAN_EXPECTED},
              {readNextTagToken, "a b", SIMPLE_XML_EQUAL_SIGN_EXPECTED},
              {readNextTagToken, "a=b", SIMPLE_XML_QUOTE_EXPECTED},
              {readNextTagToken, "a=''", SIMPLE_XML_UNEXPECTED_END},
              {readNextTagToken, "a='&#999;'", SIMPLE_XML_NO_UNICODE}};
  for (const auto& [reader, document, error] : rows) {
    const cursor at(document);
    EXPECT_EQ(reader(at.get()), 0) << document;
    EXPECT_EQ(at->error, error) << document;
    const cursor behind(document, static_cast<std::int32_t>(document.size()));
    EXPECT_EQ(reader(behind.get()), 0) << document;
    EXPECT_EQ(behind->error, SIMPLE_XML_UNEXPECTED_END) << "nothing is left of " << document;
  }
}

}  // namespace
}  // namespace ruvex
