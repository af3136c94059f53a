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

TEST(Base64, ConvertsThePublishedVectors) {
  const std::pair<const char*, const char*> vectors[] = {// RFC 4648, section 10
                                                         {"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"},
                                                         {"\xff", "/w=="},
                                                         {"\xfb\xff\xfe", "+//+"}};
  for (const auto& [bytes, text] : vectors) {
    EXPECT_EQ(encoded(bytes), text);
    EXPECT_EQ(decoded(text), std::to_string(std::strlen(text) / 4 * 3) + ":" + bytes);
  }
}

TEST(Base64, EncodesAndDecodesAsCoreutilsDo) {
  const std::string bytes = sample(12000);
  const temporary_file file;
  for (const std::string width : {"0", "76", "75", "1"}) {
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

TEST(Base64, DecodesWhatIsUsableOfAnyText) {
  std::string junk, top_bits = "Zm9vYmFy";
  for (int code = 1; code < 128; ++code)
    if (dec64[code] == 126 && code != '=')
      junk += {static_cast<char>(code), static_cast<char>(code | 128)};
  for (char& character : top_bits) character = static_cast<char>(character | 128);
  // clang-format off
  const std::pair<std::string, std::string> cases[] = {
      {top_bits, "6:foobar"}, {"Zm9vYg\xbd\xbd", "6:foob"},
      {"Z", "0:"}, {"Zm9", "0:"}, {"Zm9vY", "3:foo"}, {"Zm9vYm", "3:foo"}, {"Zm9vYmE", "3:foo"},
      {"Zm9v=YmFy", "6:foo"}, {"Zg==Zg==", "6:f"}, {"Zm=9vYmFy", "6:f"}, {"Zm8=!", "3:fo"},
      {"=", "0:"}, {"====", "3:"}, {"Z===", "3:"}, {"Zm9vZ===", "6:foo"}, {"=Zm9v", "3:"},
      {"Zg=", "0:"}, {"Zm9vYg=", "3:foo"}, {" Zg=", "3:f"}, {"Z g = =", "3:f"},
      {"Z~m~8~=~", "6:fo"}, {"Z" + junk + "m" + junk + "9v" + junk + "Yg==", "285:foob"}};
  // clang-format on
  for (const auto& [given, result] : cases) EXPECT_EQ(decoded(given), result) << given;
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
