// Documents of a size that only memory limits. Slow builds divide the sizes by RUVEX_LIMIT_DIVISOR.
#include <string>

#include "gtest/gtest.h"
#include "xml/parser.h"

namespace ruvex {
namespace {

constexpr std::size_t reduced(std::size_t size) {
  return size / RUVEX_LIMIT_DIVISOR;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (; count > 0; --count) result += text;
  return result;
}

struct totals {
  std::size_t events[5];
  std::size_t text_bytes;
  std::uint32_t text_sum;
};

std::uint32_t sum_of(std::string_view text) {
  std::uint32_t sum = 0;
  for (const char byte : text) sum = sum * 31 + static_cast<unsigned char>(byte);
  return sum;
}

SimpleXmlTagHandler count_events(SimpleXmlParser* parser, std::int32_t event, const char*,
                                 const char*, const char* value) {
  auto* counted = static_cast<totals*>(simpleXmlGetUserData(parser));
  ++counted->events[event];
  if (value != nullptr) {
    counted->text_bytes += std::string_view(value).size();
    counted->text_sum = sum_of(value);
  }
  return count_events;
}

std::int32_t parse(const std::string& document, totals& counted) {
  const xml_parser_ptr parser(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
  simpleXmlPushUserData(parser.get(), &counted);
  return simpleXmlParse(parser.get(), count_events);
}

TEST(Limits, ElementsNestAsDeepAsMemoryAllows) {
  const std::size_t depth = reduced(5'000'000);
  totals counted = {};
  EXPECT_EQ(parse(repeated("<a>", depth) + repeated("</a>", depth), counted), 0);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_SUBTAG_START], depth);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_TAG_END], depth);

  const std::size_t open = reduced(1'000'000);
  counted = {};
  EXPECT_EQ(parse(repeated("<a b='1'>", open), counted), SIMPLE_XML_UNEXPECTED_END);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_ATTRIBUTES_END], open);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_TAG_END], 0U);
}

TEST(Limits, TextsMayBeLong) {
  const std::string text = repeated("0123456789 abcdefghijklmnopqrstuvwxyz", reduced(2'800'000));
  for (const std::string& document :
       {"<a>" + text + "</a>", "<a b='" + text + "'/>", "<a>" + text + "&lt;</a>"}) {
    const bool decoded = document.ends_with("&lt;</a>");
    const std::string expected = decoded ? text + "<" : text;
    totals counted = {};
    EXPECT_EQ(parse(document, counted), 0);
    EXPECT_EQ(counted.text_bytes, expected.size());
    EXPECT_EQ(counted.text_sum, sum_of(expected));
  }
}

TEST(Limits, NamesMayBeLong) {
  const std::string name = repeated("long-", reduced(2'000'000));
  totals counted = {};
  EXPECT_EQ(parse("<a><" + name + " " + name + "='1'></" + name + "></a>", counted), 0);
  EXPECT_EQ(parse("<a><" + name + "></" + name + "-></a>", counted), SIMPLE_XML_MISMATCHED_END_TAG);
}

TEST(Limits, AttributesAndElementsMayBeMany) {
  const std::size_t count = reduced(1'000'000);
  totals counted = {};
  EXPECT_EQ(parse("<a" + repeated(" b='1'", count) + "/>", counted), 0);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_ATTRIBUTE], count);
  EXPECT_EQ(counted.text_bytes, count);

  counted = {};
  EXPECT_EQ(parse("<a>" + repeated("<b/>\n<c>t</c>", count / 2) + "</a>", counted), 0);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_TAG_END], 1 + count / 2 * 2);
  EXPECT_EQ(counted.events[SIMPLE_XML_EVENT_CONTENT], count / 2 * 2);
}

}  // namespace
}  // namespace ruvex
