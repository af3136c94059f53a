#include "ruvex/xml/value_buffer.h"

#include <memory>
#include <random>
#include <string>

#include "buffer_bytes.h"
#include "gtest/gtest.h"

namespace ruvex {
namespace {

// Beside a string to which the same is appended.
TEST(ValueBuffer, HoldsWhatAStringHolds) {
  std::mt19937 random(3);
  for (const std::int32_t first_size : {1, 3, 512}) {
    const value_buffer_ptr owned(createSimpleXmlValueBuffer(first_size));
    SimpleXmlValueBuffer* const buffer = owned.get();
    std::string text;
    auto size = static_cast<std::size_t>(first_size);
    const auto expect_the_same = [&](std::size_t room) {
      while (size < room) size *= 2;
      ASSERT_EQ(std::string(buffer->data, static_cast<std::size_t>(buffer->length)), text);
      ASSERT_EQ(buffer->size, size) << "it doubles when it is full, and the storage is kept";
    };
    for (int step = 0; step < 1000; ++step) {
      if (random() % 300 == 0) text.clear(), clearSimpleXmlValueBuffer(buffer);
      const std::string more(random() % 8, static_cast<char>('a' + step % 26));
      ASSERT_EQ(appendStringToSimpleXmlValueBuffer(buffer, more.c_str()), 1);
      ASSERT_TRUE(append_bytes(buffer, {"\0\xff", 2}));
      expect_the_same((text += more + std::string("\0\xff", 2)).size());
      ASSERT_EQ(getInternalSimpleXmlValueBufferContents(buffer), buffer->data);
      expect_the_same(text.size() + 1);
      ASSERT_EQ(buffer->data[text.size()], '\0');
      ASSERT_EQ(getSimpleXmlValueBufferContentLength(buffer), text.size() + 1);
      buffer->data[text.size()] = '?';  // a copy does not need the NUL
      const auto room = static_cast<std::int32_t>(random() % (text.size() + 9));
      const std::unique_ptr<char[]> copy(new char[static_cast<std::size_t>(room)]);
      ASSERT_EQ(getSimpleXmlValueBufferContents(buffer, copy.get(), room), room > 0);
      const std::string cut = text.substr(0, room > 0 ? room - 1 : 0);
      ASSERT_STREQ(room > 0 ? copy.get() : "", cut.c_str());
    }
  }
}

TEST(ValueBuffer, IsNotMadeOfNothing) {
  EXPECT_EQ(createSimpleXmlValueBuffer(0), nullptr);
  EXPECT_EQ(clearSimpleXmlValueBuffer(nullptr), 0);
  EXPECT_EQ(growSimpleXmlValueBuffer(nullptr), 0);
  EXPECT_EQ(appendStringToSimpleXmlValueBuffer(nullptr, "a"), 0);
  EXPECT_EQ(getInternalSimpleXmlValueBufferContents(nullptr), nullptr);
  EXPECT_EQ(getSimpleXmlValueBufferContentLength(nullptr), 0);
  EXPECT_EQ(getSimpleXmlValueBufferContents(nullptr, nullptr, 2), 0);
  destroySimpleXmlValueBuffer(nullptr);
}

}  // namespace
}  // namespace ruvex
