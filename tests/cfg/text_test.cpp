#include "ruvex/cfg/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "ruvex/cfg/decimal.h"

namespace ruvex {
namespace {

// Lengths about those that a text has room for, without a NUL and with one at every place.
TEST(Text, TakesWhatFitsAndRefusesTheRestUnchanged) {
  for (int length = 0; length < 40; ++length) {
    for (int nul = -1; nul < length; ++nul) {
      text<32> setting;
      ASSERT_TRUE(setting.empty() && setting.assign("before"));
      std::string characters(static_cast<std::size_t>(length), '\x01');
      if (nul >= 0) characters[static_cast<std::size_t>(nul)] = '\0';
      const bool fits = length <= 31 && nul < 0;
      EXPECT_EQ(setting.assign(characters), fits) << length << " with a NUL at " << nul;
      EXPECT_EQ(setting.view(), fits ? characters : "before") << length;
      EXPECT_STREQ(setting.c_str(), fits ? characters.c_str() : "before") << length;
    }
  }
}

TEST(Text, TakesAnyOtherByteAndAPartOfItself) {
  text<64> setting;
  ASSERT_TRUE(setting.assign(std::string(59, 'x') + "\x80\xff\x01\x7f"));
  EXPECT_TRUE(setting.assign(setting.view().substr(3)));
  EXPECT_EQ(setting.view(), std::string(56, 'x') + "\x80\xff\x01\x7f");
  constexpr text<32> full("1234567890123456789012345678901"), usual("BIG");
  EXPECT_EQ(full.view().size(), 31U);
  EXPECT_EQ(usual, "BIG");
}

TEST(Decimal, ReadsInTheMannerOfStrtoll) {
  for (const char* characters :
       {"", "-", "+", " ", "x1", "\t\n\v\f\r 12", "- 1", "--1", "+-1", "007", "12.5", "0x10",
        "9223372036854775804", "9223372036854775808", "-9223372036854775808",
        "-9223372036854775809", "18446744073709551616", "99999999999999999999999999"}) {
    const long long value = std::strtoll(characters, nullptr, 10);
    EXPECT_EQ(decimal_prefix(characters), value) << characters;
    EXPECT_EQ(decimal_text(value).view(), std::to_string(value));
  }
}

}  // namespace
}  // namespace ruvex
