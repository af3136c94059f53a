#include "cfg/text.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "cfg/decimal.h"
#include "cfg/fields.h"

namespace ruvex {
namespace {

TEST(Text, TakesWhatFitsAndRefusesTheRestUnchanged) {
  for (const std::size_t length : {0U, 1U, 7U, 8U, 30U, 31U, 32U, 63U, 64U, 200U}) {
    text<32> setting;
    ASSERT_TRUE(setting.assign("before"));
    const std::string characters(length, 'x');
    const bool fits = length <= 31;
    EXPECT_EQ(setting.assign(characters), fits) << length;
    EXPECT_EQ(setting.view(), fits ? characters : "before") << length;
    EXPECT_STREQ(setting.c_str(), fits ? characters.c_str() : "before") << length;
    EXPECT_EQ(setting.empty(), setting.view().empty()) << length;
  }
}

TEST(Text, IsEmptyWhenZeroFilledAndShrinksAgain) {
  text<64> setting;
  EXPECT_TRUE(setting.empty());
  EXPECT_TRUE(setting.assign(std::string(63, 'y')));
  EXPECT_EQ(setting.view().size(), 63U);
  EXPECT_TRUE(setting.assign(""));
  EXPECT_EQ(setting.view(), "");
  EXPECT_STREQ(setting.c_str(), "");
}

TEST(Text, RefusesANulWhereverItStands) {
  for (std::size_t length = 1; length <= 31; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      std::string characters(length, '\x01');
      characters[at] = '\0';
      text<32> setting;
      EXPECT_FALSE(setting.assign(characters)) << length << " at " << at;
      EXPECT_TRUE(setting.empty());
    }
  }
  text<32> setting;
  EXPECT_TRUE(setting.assign("\x80\xff\x01\x7f\x80\xff\x01\x7f\x80"));
}

TEST(Text, TakesAPartOfItself) {
  text<32> setting;
  ASSERT_TRUE(setting.assign("0123456789"));
  EXPECT_TRUE(setting.assign(setting.view().substr(3)));
  EXPECT_EQ(setting, "3456789");
}

TEST(Text, IsMadeOfALiteralOfAnyLength) {
  constexpr text<32> full("1234567890123456789012345678901");
  constexpr text<32> usual("BIG");
  constexpr text<32> empty("");
  EXPECT_EQ(full.view().size(), 31U);
  EXPECT_EQ(usual, "BIG");
  EXPECT_TRUE(empty.empty());
}

// A store through any row of the field tables stays inside that row's setting.
template <class Record, std::size_t Count>
void expect_no_overrun(const std::array<field<Record>, Count>& rows) {
  const auto record = make_record<Record>();
  std::vector<unsigned char> before(sizeof(Record));
  for (const auto& row : rows) {
    for (const std::size_t length : {0U, 31U, 32U, 63U, 64U, 200U}) {
      std::memset(static_cast<void*>(record.get()), 0xA5, sizeof(Record));
      std::memcpy(before.data(), record.get(), sizeof(Record));
      const std::size_t capacity = row.view(*record).capacity();
      EXPECT_EQ(row.ref(*record).assign(std::string(length, 'z')), length < capacity);
      const auto* bytes = reinterpret_cast<const unsigned char*>(record.get());
      const auto start = static_cast<std::size_t>(row.view(*record).data() -
                                                  reinterpret_cast<const char*>(record.get()));
      EXPECT_EQ(std::memcmp(bytes, before.data(), start), 0) << tag_text(row.tag) << length;
      EXPECT_EQ(std::memcmp(bytes + start + capacity, before.data() + start + capacity,
                            sizeof(Record) - start - capacity),
                0)
          << tag_text(row.tag) << length;
      if (length < capacity) {
        EXPECT_EQ(row.view(*record).view(), std::string(length, 'z'));
      }
    }
  }
}

TEST(Text, NeverOverrunsItsNeighbourInARecord) {
  expect_no_overrun(doc_attributes);
  expect_no_overrun(doc_elements);
  expect_no_overrun(unit_attributes);
  expect_no_overrun(chn_attributes);
  expect_no_overrun(chn_elements);
}

TEST(Decimal, WritesWhatItReads) {
  for (const std::int64_t value :
       {std::int64_t{0}, std::int64_t{-1}, std::int64_t{2147483647}, std::int64_t{-2147483648},
        std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
    const decimal_text written(value);
    EXPECT_EQ(written.view(), std::to_string(value));
    EXPECT_EQ(decimal_prefix(written.view()), value);
  }
}

TEST(Decimal, ReadsInTheMannerOfStrtoll) {
  for (const char* characters :
       {"", "-", "+", " ", "x1", "\t\n\v\f\r 12", "- 1", "--1", "+-1", "007", "12.5", "0x10",
        "9223372036854775807", "9223372036854775808", "-9223372036854775808",
        "-9223372036854775809", "18446744073709551616", "99999999999999999999999999"}) {
    EXPECT_EQ(decimal_prefix(characters), std::strtoll(characters, nullptr, 10)) << characters;
  }
}

}  // namespace
}  // namespace ruvex
