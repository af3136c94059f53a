// Every allocation of a parse fails once.
#include <cstddef>
#include <set>
#include <string>
#include <utility>

#include "gmock/gmock.h"
#include "support/failing_allocations.h"
#include "xml/parser.h"

namespace ruvex {
namespace {

int events = 0;

SimpleXmlTagHandler count_event(SimpleXmlParser*, std::int32_t, const char*, const char*,
                                const char*) {
  ++events;
  return count_event;
}

constexpr std::int32_t no_parser = -1;
constexpr std::int32_t no_user_data = -2;

// With the memory that was missing before.
std::int32_t parse_again(SimpleXmlParser* parser, const std::string& document) {
  const int events_before = std::exchange(events, 0);
  simpleXmlInitializeParser(parser, document.data(), static_cast<std::int32_t>(document.size()));
  const std::int32_t result = simpleXmlParse(parser, count_event);
  events = events_before;
  return result;
}

// A parse from creation to destruction with one allocation that fails; its result.
std::int32_t run(const std::string& document, int failing) {
  failing_call = failing;
  failed = nullptr;
  calls = live_blocks = events = 0;
  watching = true;
  std::int32_t result = no_parser;
  SimpleXmlParser* parser =
      simpleXmlCreateParser(document.data(), static_cast<std::int32_t>(document.size()));
  if (parser != nullptr) {
    bool pushed = true;
    for (int count = 0; pushed && count < 20; ++count) {
      pushed = simpleXmlPushUserData(parser, &events) == 1;
    }
    result = pushed ? simpleXmlParse(parser, count_event) : no_user_data;
    if (result == SIMPLE_XML_OUT_OF_MEMORY) {
      EXPECT_EQ(parse_again(parser, document), SIMPLE_XML_NO_ERROR);
    }
  }
  simpleXmlDestroyParser(parser);
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
  ASSERT_EQ(run(document, -1), SIMPLE_XML_NO_ERROR);
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
  EXPECT_THAT(results, testing::ElementsAre(no_user_data, no_parser, SIMPLE_XML_NO_ERROR,
                                            SIMPLE_XML_OUT_OF_MEMORY));
  EXPECT_THAT(failed_functions, testing::ElementsAre("calloc", "malloc", "realloc"));
}

TEST(Allocation, DoesNotGrowWithTheNumberOfElements) {
  const auto allocations = [](int elements) {
    std::string document = "<list>";
    for (int count = 0; count < elements; ++count) {
      document += count % 2 == 0 ? "<first a='1' bcd=\"&lt;\">text<in/></first>\n"
                                 : "<second-na&#109;e/>more &amp; more<!-- -->\n";
    }
    EXPECT_EQ(run(document + "</list>", -1), SIMPLE_XML_NO_ERROR);
    return calls;
  };
  const int few = allocations(100);
  EXPECT_GT(few, 0);
  EXPECT_EQ(allocations(10'000), few);
}

// Names of open elements stand in blocks of about 4 KB; elements that come and go about a block's
// end are no reason to allocate either.
TEST(Allocation, DoesNotGrowAboutTheEndOfABlockOfNames) {
  for (std::size_t length = 4000; length < 4100; ++length) {
    const auto allocations = [length](int elements) {
      const std::string name(length, 'n');
      std::string document = "<" + name + ">";
      for (int count = 0; count < elements; ++count) document += "<b><c/></b>";
      EXPECT_EQ(run(document + "</" + name + ">", -1), SIMPLE_XML_NO_ERROR);
      return calls;
    };
    EXPECT_EQ(allocations(1), allocations(50)) << length;
  }
}

}  // namespace
}  // namespace ruvex
