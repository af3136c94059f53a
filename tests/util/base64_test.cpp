#include "ruvex/util/base64.h"

#include <gtest/gtest.h>

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

// One process encodes all lengths, each filled up with zeros to whole groups, which are the bits
// that padding stands for.
TEST(Base64, EncodesAndDecodesAsCoreutilsDo) {
  std::string all, theirs(1000000, '?');
  for (std::size_t size = 0; size <= 1000; ++size)
    all += sample(size) + std::string((3 - size % 3) % 3, '\0');
  const temporary_file file;
  std::FILE* const pipe =
      ::popen(("base64 -w0 " + std::string(file.filled_with(all))).c_str(), "r");
  theirs.resize(std::fread(theirs.data(), 1, theirs.size(), pipe));
  EXPECT_EQ(::pclose(pipe), 0);
  for (std::size_t size = 0, at = 0; size <= 1000; ++size) {
    const std::size_t length = (size + 2) / 3 * 4, padding = (3 - size % 3) % 3;
    const std::string text = theirs.substr(at, length - padding) + std::string(padding, '=');
    ASSERT_EQ(encoded(sample(size)), text);
    ASSERT_EQ(decoded(text), std::to_string(length / 4 * 3) + ":" + sample(size));
    at += length;
  }
}

TEST(Base64, DecodesWhatIsUsableOfAnyText) {
  std::string junk, top_bits = "Zm9vYmFy";
  for (int code = 1; code < 128; ++code)
    if (dec64[code] == 126 && code != '=')
      junk += {static_cast<char>(code), static_cast<char>(code | 128)};
  const std::string bytes = sample(300), text = encoded(bytes);
  for (const std::size_t width : {76U, 75U, 1U}) {
    std::string folded = text;
    for (std::size_t at = width; at < folded.size(); at += width + 1) folded.insert(at, "\n");
    EXPECT_EQ(decoded(folded), std::to_string(folded.size() / 4 * 3) + ":" + bytes) << width;
  }
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
  EXPECT_EQ(junk.size(), 124U);
  for (const std::size_t size : {300U, 301U, 302U}) {
    const std::string whole = encoded(sample(size));
    for (std::size_t cut = 0; cut < whole.size(); ++cut)
      EXPECT_EQ(decoded(whole.substr(0, cut)),
                std::to_string(cut / 4 * 3) + ":" + sample(std::min(size, cut / 4 * 3)));
  }
}

TEST(Base64, BlocksAndLimitsAreExact) {
  const std::tuple<int, std::uint8_t, std::uint8_t, std::uint8_t, const char*> blocks[] = {
      {-9, 77, 0, 0, "TQ==#"}, {0, 77, 0, 0, "TQ==#"},    {1, 77, 0, 0, "TQ==#"},
      {2, 77, 97, 0, "TWE=#"}, {3, 77, 97, 110, "TWFu#"}, {4, 255, 255, 255, "////#"}};
  for (const auto& [len, first, second, third, text] : blocks) {
    const std::uint8_t in[] = {first, second, third};
    std::uint8_t values[4], out[] = {1, 1, 1, 1};
    char to[] = "#####";
    encodeblock(in, to, len);
    EXPECT_STREQ(to, text);
    for (int at = 0; at < 4; ++at)
      values[at] = text[at] == '=' ? 0 : dec64[static_cast<int>(text[at])];
    decodeblock(values, out);
    EXPECT_EQ(std::tuple(out[0], out[1], out[2], out[3]), std::tuple(first, second, third, 1));
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
