// Documents of a size that only memory limits. Slow builds divide the sizes by RUVEX_LIMIT_DIVISOR.
#include <functional>
#include <string>
#include <string_view>

#include "gtest/gtest.h"
#include "ruvex/xml/parser.h"

namespace ruvex {
namespace {

constexpr std::size_t reduced(std::size_t size) {
  return size / RUVEX_LIMIT_DIVISOR;
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) result += text;
  return result;
}

struct totals {
  std::int32_t error = 0;
  std::size_t events[5] = {};
  std::size_t text_hash = 0;  // of the last text
};

SimpleXmlTagHandler count_event(SimpleXmlParser* parser, std::int32_t event, const char*,
                                const char*, const char* value) {
  auto* counted = static_cast<totals*>(simpleXmlGetUserData(parser));
  ++counted->events[event];
  if (value != nullptr) counted->text_hash = std::hash<std::string_view>()(value);
  return count_event;
}

totals parse(const std::string& document) {
  const xml_parser_ptr parser(
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size())));
  totals counted;
  simpleXmlPushUserData(parser.get(), &counted);
  counted.error = simpleXmlParse(parser.get(), count_event);
  return counted;
}

TEST(Limits, ElementsAndAttributesMayBeMany) {
  const std::size_t many = reduced(5'000'000);
  const struct {
    std::string document;
    std::int32_t error;
    SimpleXmlEvent event;
    std::size_t count;
  } cases[] = {
      {repeated("<a>", many) + repeated("</a>", many), 0, SIMPLE_XML_EVENT_TAG_END, many},
      {repeated("<a b='1'>", many), SIMPLE_XML_UNEXPECTED_END, SIMPLE_XML_EVENT_ATTRIBUTE, many},
      {"<a" + repeated(" b='1'", many) + "/>", 0, SIMPLE_XML_EVENT_ATTRIBUTE, many},
      {"<a>" + repeated("<b/>\n", many) + "</a>", 0, SIMPLE_XML_EVENT_CONTENT, many},
  };
  for (const auto& row : cases) {
    const totals counted = parse(row.document);
    EXPECT_EQ(counted.error, row.error) << row.document.substr(0, 20);
    EXPECT_EQ(counted.events[row.event], row.count) << row.document.substr(0, 20);
  }
}

TEST(Limits, TextsMayBeLong) {
  const std::string text = repeated("0123456789 abcdefghijklmnopqrstuvwxyz", reduced(2'800'000));
  for (const std::string& document : {"<a>" + text + "&#60;</a>", "<a b='" + text + "<'/>"}) {
    const totals counted = parse(document);
    EXPECT_EQ(counted.error, 0);
    EXPECT_EQ(counted.text_hash, std::hash<std::string>()(text + "<"));
  }
}

TEST(Limits, NamesMayBeLong) {
  const std::string name = repeated("long-", reduced(2'000'000));
  EXPECT_EQ(parse("<a><" + name + " " + name + "='1'></" + name + "></a>").error, 0);
  EXPECT_EQ(parse("<" + name + "></" + name + "->").error, SIMPLE_XML_MISMATCHED_END_TAG);
}

}  // namespace
}  // namespace ruvex
