// Every allocation of a parse fails once.
#include <cstddef>
#include <set>
#include <string>

#include "gtest/gtest.h"
#include "ruvex/xml/parser.h"
#include "support/failing_allocations.h"

namespace ruvex {
namespace {

int events = 0;

SimpleXmlTagHandler count_one(SimpleXmlParser*, std::int32_t, const char*, const char*,
                              const char*) {
  ++events;
  return count_one;
}

constexpr std::int32_t no_parser = -1;
constexpr std::int32_t no_user_data = -2;

// A parse from creation to destruction with one allocation that fails; its result. Where memory
// has run out, the parser serves again when there is some.
std::int32_t run(const std::string& document, int failing) {
  const auto length = static_cast<std::int32_t>(document.size());
  watch(failing);
  events = 0;
  xml_parser_ptr parser(simpleXmlCreateParser(document.data(), length));
  bool pushed = parser != nullptr;
  std::int32_t result = pushed ? no_user_data : no_parser;
  for (int count = 0; pushed && count < 20; ++count) {
    pushed = simpleXmlPushUserData(parser.get(), &events) == 1;
  }
  if (pushed) result = simpleXmlParse(parser.get(), count_one);
  if (result == SIMPLE_XML_OUT_OF_MEMORY) {
    simpleXmlInitializeParser(parser.get(), document.data(), length);
    EXPECT_EQ(simpleXmlParse(parser.get(), simpleXmlNopHandler), SIMPLE_XML_NO_ERROR);
  }
  parser.reset();
  watching = false;
  return result;
}

// Texts longer than the buffers, nesting deeper than the first stack, longer and longer names.
std::string demanding_document() {
  std::string document;
  std::string ends;
  for (std::size_t depth = 1; depth < 70; ++depth) {
    const std::string name(depth * 5, 'n');
    document += "<" + name + " " + name + "='" + std::string(depth * 20, 'v') + "'>t&amp;";
    ends.insert(0, "</" + name + ">");
  }
  return document + std::string(9000, 't') + "<" + std::string(9000, 'm') + "&lt;/>" + ends;
}

TEST(Allocation, EachFailureIsToldAndNothingLeaks) {
  const std::string document = demanding_document();
  ASSERT_EQ(run(document, never), SIMPLE_XML_NO_ERROR);
  const int all_events = events;
  std::set<std::string> failed_functions;
  std::set<std::int32_t> results;
  for (int nth = 0;; ++nth) {
    const std::int32_t result = run(document, nth);
    EXPECT_EQ(live_blocks, 0) << nth;
    results.insert(result);
    if (failed == nullptr) break;
    EXPECT_NE(result, SIMPLE_XML_NO_ERROR) << nth << " " << failed;
    EXPECT_LT(events, all_events) << nth;
    failed_functions.insert(failed);
  }
  EXPECT_EQ(results, (std::set<std::int32_t>{no_user_data, no_parser, SIMPLE_XML_NO_ERROR,
                                             SIMPLE_XML_OUT_OF_MEMORY}));
  EXPECT_EQ(failed_functions, (std::set<std::string>{"calloc", "malloc", "realloc"}));
}

int allocations(const std::string& document) {
  EXPECT_EQ(run(document, never), SIMPLE_XML_NO_ERROR);
  return calls;
}

// Names of open elements stand in blocks of about 4 KB; elements that come and go about a block's
// end are no reason to allocate either.
TEST(Allocation, DoesNotGrowWithTheNumberOfElements) {
  std::string elements =
      "<first a='1' bcd=\"&lt;\">text<in/></first>\n<second-na&#109;e/>m &amp; m<!-- -->";
  std::string many = elements;
  for (int doubled = 0; doubled < 8; ++doubled) many += many;
  for (std::size_t length = 4000; length < 4100; ++length) {
    const std::string name(length, 'n');
    const std::string start = "<" + name + ">", end = "</" + name + ">";
    EXPECT_EQ(allocations(start + many + end), allocations(start + elements + end));
  }
}

}  // namespace
}  // namespace ruvex
