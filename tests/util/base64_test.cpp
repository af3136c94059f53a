#include "ruvex/util/base64.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>

#include "support/temporary_file.h"

namespace ruvex {
namespace {

std::string encoded(const std::string& bytes) {
  const bar_ptr bar(barNewC(static_cast<int>(bytes.size())));
  if (!bytes.empty()) std::memcpy(bar->data, bytes.data(), bytes.size());
  bar->len = bar->size;
  return base64_text_ptr(barBase64encode(bar.get())).get();
}

// The bytes, behind the size of the Bar. The text stands in a block of just its size.
std::string decoded(const std::string& text) {
  const str_ptr str(strNewN(static_cast<int>(text.size()) + 1));
  strSetText(str.get(), text.c_str());
  const bar_ptr bar(strBase64decode(str.get()));
  const auto* const bytes = reinterpret_cast<const char*>(bar->data);
  return std::to_string(bar->size) + ":" + std::string(bytes, bar->len);
}

std::string sample(std::size_t size) {
  std::string bytes(size, '?');
  for (std::size_t at = 0; at < size; ++at) bytes[at] = static_cast<char>(at * 2654435761U >> 20);
  return bytes;
}

TEST(Base64, EncodesAndDecodesAsCoreutilsDo) {
  const temporary_file file;
  for (const std::string width : {"0", "76", "77", "1"}) {
    const std::string bytes = sample(12000 + std::stoul(width) % 3);
    std::string theirs(40000, '?');
    const std::string command = "base64 -w" + width + " " + file.filled_with(bytes);
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    theirs.resize(std::fread(theirs.data(), 1, theirs.size(), pipe));
    EXPECT_EQ(::pclose(pipe), 0);
    EXPECT_EQ(decoded(theirs), std::to_string(theirs.size() / 4 * 3) + ":" + bytes) << width;
    theirs.erase(std::remove(theirs.begin(), theirs.end(), '\n'), theirs.end());
    EXPECT_EQ(encoded(bytes), theirs);
  }
}

TEST(Base64, BlocksAndLimitsAreExact) {
  const std::pair<int, const char*> blocks[] = {{-9, "TQ==#"}, {0, "TQ==#"}, {1, "TQ==#"},
                                                {2, "TWE=#"},  {3, "TWFu#"}, {4, "TWFu#"}};
  for (const auto& [len, text] : blocks) {
    const std::string bytes = len < 2 ? std::string("M\0\0", 3) : len == 2 ? "Ma" : "Man";
    char to[] = "#####";
    encodeblock(reinterpret_cast<const std::uint8_t*>(bytes.c_str()), to, len);
    EXPECT_STREQ(to, text);
  }
  EXPECT_EQ(dec64['='], 126);
  EXPECT_EQ(encoded(""), "");
  EXPECT_EQ(encoded(sample(32767)).size(), 43692U);
  const std::string text(43692, 'A');
  EXPECT_EQ(base64decodeData(text.c_str()), nullptr);
  const bar_ptr bar(base64decodeData(text.c_str() + 1)), rest(base64decodeData("A ///QR=="));
  EXPECT_EQ(std::tuple(bar->size, bar->len), std::tuple(32766, 32766));
  EXPECT_EQ(std::tuple(rest->size, rest->len), std::tuple(6, 4));
  EXPECT_EQ(std::memcmp(rest->data, "\x03\xff\xff\x41\x10\0", 6), 0);
  const str_ptr none(strNew());
  EXPECT_EQ(bar_ptr(strBase64decode(none.get()))->size, 0);
}

}  // namespace
}  // namespace ruvex
