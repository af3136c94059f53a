#include "ruvex/xml/tokenizer.h"

#include <limits>
#include <string>

#include "gtest/gtest.h"
#include "xml/documents.h"
#include "xml/recorder.h"

namespace ruvex {
namespace {

constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();

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
  constexpr struct {
    std::int32_t position, offset;
    int byte;
  } rows[] = {{1, -2, 0}, {1, -1, 'a'},    {1, 0, 255},      {1, 2, 'c'},
              {1, 3, 0},  {1, longest, 0}, {longest, -1, 0}, {5, -2, 'c'},
              {4, 0, 0},  {-1, 0, 0},      {-1, 1, 'a'},     {-longest, -9, 0}};
  for (const auto& [position, offset, byte] : rows) {
    const cursor at("a\xff\0c"sv, position);
    EXPECT_EQ(peekInputCharAt(at.get(), offset), byte) << position << " and " << offset;
  }
}

TEST(Tokenizer, CountsLineBreaksAsItSkips) {
  constexpr std::string_view document = "\r\n\n\ra\r\r";
  constexpr std::int32_t breaks[] = {0, 0, 0, 1, 2, 3, 3, 4, 4, 4};  // after -1 bytes, after 0 ...
  for (std::int32_t skipped = -1; skipped < 9; ++skipped) {
    const cursor at(document), stepwise(document);
    skipInputChars(at.get(), skipped);
    for (int count = 0; count < skipped; ++count) skipInputChar(stepwise.get());
    EXPECT_EQ(at->lineBreaks, breaks[skipped + 1]) << skipped;
    EXPECT_EQ(stepwise->lineBreaks, at->lineBreaks) << skipped;
    EXPECT_EQ(stepwise->inputPosition, at->inputPosition) << skipped;
    EXPECT_EQ(at->inputPosition, skipped < 0 ? 0 : skipped) << "also beyond the end";
    const bool is_beyond = skipped > static_cast<std::int32_t>(document.size());
    EXPECT_TRUE(!is_beyond || (readInputChar(at.get()) == 0 && at->inputPosition == skipped));
  }
  const cursor far(document);
  skipInputChars(far.get(), longest);
  skipInputChars(far.get(), longest);
  EXPECT_EQ(far->inputPosition, longest);
  EXPECT_EQ(readInputChar(far.get()), 0);
  EXPECT_EQ(far->error, SIMPLE_XML_UNEXPECTED_END);
}

constexpr auto any_character = static_cast<SimpleXmlToken>(-1);

TEST(Tokenizer, ReadsOneToken) {
  constexpr struct {
    int (*reader)(SimpleXmlParser*) noexcept;
    std::string_view document, text;
    std::int32_t position;
    SimpleXmlToken kind;
  } rows[] = {
      {readChar, "ab", "a", 1, any_character},
      {readChar, "&lt;lt;", "<", 4, any_character},
      {readChar, "&#x4a;", "J", 6, any_character},
      {readNextContentToken, "<ab \n/>", "ab", 5, TOKEN_TAG_START},
      {readNextContentToken, "</a/b c='>'>", "a/b", 10, TOKEN_TAG_END},
      {readNextContentToken, "<?p &amp;?>q", "p &", 11, TOKEN_PROCESSING_INSTRUCTION},
      {readNextContentToken, "<!DOCTYPE a [<b>]>c", " a [<b>]", 18, TOKEN_DOCTYPE},
      {readNextContentToken, "<!--a->-&gt;-->-->", "a->->", 15, TOKEN_COMMENT},
      {readNextContentToken, "<![CDATA[a>b]]>", "[CDATA[a", 11, TOKEN_DECLARATION},
      {readNextContentToken, " a>&#60;\0<"sv, " a><\0"sv, 9, TOKEN_CONTENT},
      {readNextTagToken, ">a", "", 1, TOKEN_TAG_CLOSE},
      {readNextTagToken, "/>a", "", 2, TOKEN_TAG_END},
      {readNextTagToken, "b = \"'&lt;<>\"c", "'<<>", 13, TOKEN_ATTRIBUTE},
      {readNextTagToken, "&#98;='\r\n'\n>", "\r\n", 11, TOKEN_ATTRIBUTE},
  };
  for (const auto& [reader, document, text, position, kind] : rows) {
    const cursor at(document);
    at->tokenType = any_character;
    EXPECT_EQ(addNextTokenStringValue(at.get(), "+"), 1);
    EXPECT_EQ(reader(at.get()), 1) << printable(document);
    EXPECT_EQ(at->tokenType, kind) << printable(document);
    EXPECT_EQ(at.text(), (kind == TOKEN_ATTRIBUTE ? "" : "+") + std::string(text));
    EXPECT_EQ(at->inputPosition, position) << printable(document);
    EXPECT_STREQ(at->attributeName, kind == TOKEN_ATTRIBUTE ? "b" : nullptr);
    for (const auto behind : {static_cast<std::int32_t>(document.size()), longest}) {
      const cursor beyond(document, behind);
      EXPECT_EQ(reader(beyond.get()), 0) << printable(document);
      EXPECT_EQ(beyond->error, SIMPLE_XML_UNEXPECTED_END) << "nothing is left";
    }
  }
}

}  // namespace
}  // namespace ruvex
