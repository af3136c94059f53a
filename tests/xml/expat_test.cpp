// Beside expat, on documents that both understand in the same way.
#include "gtest/gtest.h"
#include "xml/document_maker.h"
#include "xml/events_beside_expat.h"

namespace ruvex {
namespace {

TEST(BesideExpat, SameEventsAndTexts) {
  document_maker make(true);
  std::size_t events = 0;
  for (int count = 0; count < 1000; ++count) {
    const std::string document = make.whole();
    const common_outcome got = parse_commonly(document);
    const common_outcome expected = parse_with_expat(document);
    ASSERT_EQ(expected.error, XML_ERROR_NONE) << document;
    ASSERT_EQ(got.error, SIMPLE_XML_NO_ERROR) << document;
    ASSERT_EQ(got.events, expected.events) << document;
    events += got.events.size();
  }
  EXPECT_GT(events, 10'000U);
}

}  // namespace
}  // namespace ruvex
