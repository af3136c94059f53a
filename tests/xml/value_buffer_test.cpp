#include "xml/value_buffer.h"

#include <string>

#include "gtest/gtest.h"

namespace ruvex {
namespace {

std::string text_of(const SimpleXmlValueBuffer& buffer) {
  return {buffer.data, static_cast<std::size_t>(buffer.length)};
}

TEST(ValueBuffer, IsMadeEmptyWithTheSizeAskedFor) {
  for (const std::int32_t size : {1, 2, 512, 100000}) {
    const value_buffer_ptr buffer(createSimpleXmlValueBuffer(size));
    ASSERT_NE(buffer, nullptr) << size;
    EXPECT_EQ(buffer->size, size);
    EXPECT_EQ(buffer->length, 0) << size;
  }
  EXPECT_EQ(createSimpleXmlValueBuffer(0), nullptr);
  EXPECT_EQ(createSimpleXmlValueBuffer(-1), nullptr);
}

TEST(ValueBuffer, DoublesWhenFullAndKeepsEveryByte) {
  for (const std::int32_t first_size : {1, 3, 512}) {
    const value_buffer_ptr buffer(createSimpleXmlValueBuffer(first_size));
    std::string expected;
    for (std::int32_t size = first_size; expected.size() < 5000;) {
      const auto byte = static_cast<char>(expected.size() * 7);
      if (buffer->length == size) size *= 2;
      ASSERT_EQ(appendCharToSimpleXmlValueBuffer(buffer.get(), byte), 1);
      expected += byte;
      ASSERT_EQ(buffer->size, size) << expected.size();
    }
    EXPECT_EQ(text_of(*buffer), expected) << first_size;

    const std::int32_t size = buffer->size;
    EXPECT_EQ(clearSimpleXmlValueBuffer(buffer.get()), 1);
    EXPECT_EQ(buffer->length, 0);
    EXPECT_EQ(buffer->size, size) << "the storage is kept";
    EXPECT_EQ(growSimpleXmlValueBuffer(buffer.get()), 1);
    EXPECT_EQ(buffer->size, 2 * size);
  }
}

TEST(ValueBuffer, AppendsTextsAndBytes) {
  const value_buffer_ptr buffer(createSimpleXmlValueBuffer(2));
  EXPECT_EQ(appendStringToSimpleXmlValueBuffer(buffer.get(), "a\xff text"), 1);
  EXPECT_EQ(appendStringToSimpleXmlValueBuffer(buffer.get(), ""), 1);
  EXPECT_EQ(appendBytesToSimpleXmlValueBuffer(buffer.get(), "\0b", 2), 1);
  EXPECT_EQ(appendBytesToSimpleXmlValueBuffer(buffer.get(), "none", 0), 1);
  EXPECT_EQ(text_of(*buffer), std::string("a\xff text\0b", 9));
}

TEST(ValueBuffer, TerminatesWithoutCountingTheNul) {
  for (const std::int32_t length : {0, 1, 3, 4, 5, 8}) {  // 4 and 8 fill it
    const value_buffer_ptr buffer(createSimpleXmlValueBuffer(4));
    const std::string text(static_cast<std::size_t>(length), 'x');
    appendStringToSimpleXmlValueBuffer(buffer.get(), text.c_str());
    EXPECT_EQ(zeroTerminateSimpleXmlValueBuffer(buffer.get()), 1);
    EXPECT_EQ(buffer->length, length);
    EXPECT_GT(buffer->size, length);
    EXPECT_STREQ(buffer->data, text.c_str());
    buffer->data[length] = 'y';
    EXPECT_EQ(getInternalSimpleXmlValueBufferContents(buffer.get()), buffer->data);
    EXPECT_STREQ(buffer->data, text.c_str());
    EXPECT_EQ(getSimpleXmlValueBufferContentLength(buffer.get()), length + 1);
  }
}

TEST(ValueBuffer, CopiesWhatFits) {
  const value_buffer_ptr buffer(createSimpleXmlValueBuffer(3));
  appendStringToSimpleXmlValueBuffer(buffer.get(), "abc");
  constexpr struct {
    std::int32_t size;
    int result;
    const char* copied;
  } rows[] = {{-1, 0, "....."}, {0, 0, "....."}, {1, 1, ""},     {2, 1, "a"},
              {3, 1, "ab"},     {4, 1, "abc"},   {100, 1, "abc"}};
  for (const auto& [size, result, copied] : rows) {
    char to[6] = ".....";
    EXPECT_EQ(getSimpleXmlValueBufferContents(buffer.get(), to, size), result) << size;
    EXPECT_STREQ(to, copied) << size;
    EXPECT_EQ(to[4], '.') << size;
  }
  EXPECT_EQ(buffer->size, 3) << "a copy does not terminate the original";
}

TEST(ValueBuffer, AnswersForANullBuffer) {
  char to[2] = "x";
  EXPECT_EQ(clearSimpleXmlValueBuffer(nullptr), 0);
  EXPECT_EQ(growSimpleXmlValueBuffer(nullptr), 0);
  EXPECT_EQ(appendCharToSimpleXmlValueBuffer(nullptr, 'a'), 0);
  EXPECT_EQ(appendStringToSimpleXmlValueBuffer(nullptr, "a"), 0);
  EXPECT_EQ(appendBytesToSimpleXmlValueBuffer(nullptr, "a", 1), 0);
  EXPECT_EQ(zeroTerminateSimpleXmlValueBuffer(nullptr), 0);
  EXPECT_EQ(getInternalSimpleXmlValueBufferContents(nullptr), nullptr);
  EXPECT_EQ(getSimpleXmlValueBufferContentLength(nullptr), 0);
  EXPECT_EQ(getSimpleXmlValueBufferContents(nullptr, to, 2), 0);
  EXPECT_STREQ(to, "x");
  destroySimpleXmlValueBuffer(nullptr);
}

}  // namespace
}  // namespace ruvex
