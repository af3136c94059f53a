#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstddef>
#include <functional>
#include <random>
#include <tuple>

#include "ruvex/util/bar.h"
#include "util/container_script.h"

namespace ruvex {
namespace {

TEST(Containers, DoWhatTheirModelsDo) {
  std::mt19937 random(7);
  for (int run = 0; run < 600; ++run) {
    std::string script(run < 500 ? 200 : 2500, static_cast<char>(run % 5));
    for (std::size_t at = 1; at < script.size(); ++at) script[at] = static_cast<char>(random());
    ASSERT_EQ(container_script(script).run(), "") << run;
  }
}

TEST(Containers, AreMadeInTheSizesAsked) {
  const std::string texts(40000, 'x');
  const std::pair<int, int> copies[] = {{0, 16},        {14, 16},    {15, 32},    {30, 32},
                                        {32750, 32752}, {32751, -1}, {32767, -1}, {40000, -1}};
  for (const auto& [len, size] : copies) {
    const str_ptr str(strNewS(texts.substr(0, len).c_str()));
    EXPECT_EQ(str == nullptr ? -1 : str->size, size) << len;
  }
  // clang-format off
  const std::tuple<int, int, int> sizes[] = {  // asked; Str and Bar; Vec, Oar and Sar
      {INT_MIN, -1, -1}, {-1, -1, -1}, {0, 0, 0}, {1, 1, 1}, {32767, 32767, 32767},
      {32768, -1, 32768}, {65535, -1, 65535}, {65536, -1, -1}, {65552, -1, -1}, {INT_MAX, -1, -1}};
  const std::pair<int, int> strides[] = {
      {INT_MIN, -1}, {0, -1}, {1, 4}, {4, 4}, {5, 8}, {65532, 65532}, {65533, -1}, {65537, -1},
      {INT_MAX, -1}};
  // clang-format on
  for (const auto& [n, is_signed, is_unsigned] : sizes) {
    const auto size = [](const auto& made) { return made == nullptr ? -1 : int{made->size}; };
    EXPECT_EQ(size(str_ptr(strNewN(n))), is_signed) << n;
    EXPECT_EQ(size(bar_ptr(barNewC(n))), is_signed) << n;
    EXPECT_EQ(size(vec_ptr(vecNew(n))), n == 0 ? 16 : is_unsigned) << n;
    EXPECT_EQ(size(oar_ptr(oarNew(n, 1))), n == 0 ? 16 : is_unsigned) << n;
    EXPECT_EQ(size(sar_ptr(sarNew(n, false))), n == 0 ? 256 : is_unsigned) << n;
  }
  for (const auto& [item_size, stride] : strides) {
    const oar_ptr oar(oarNew(1, item_size));
    EXPECT_EQ(oar == nullptr ? -1 : oar->stride, stride) << item_size;
  }
  EXPECT_EQ(bufNew(-1), nullptr);
  const bar_ptr bar(barNewC(100)), none(barNew());
  EXPECT_EQ(std::count(bar->data, bar->data + 100, 0), 100);
  EXPECT_EQ(std::tuple(none->size, none->len, none->data), std::tuple(0, 0, nullptr));
}

TEST(Containers, RefuseWhatTheirFieldsDoNotHold) {
  const str_ptr str(strNewN(32767));
  const std::string longest(32766, 'x');
  EXPECT_EQ(strSetText(str.get(), longest.c_str()), 32766);
  EXPECT_EQ(strAdd(str.get(), "y"), -1);
  EXPECT_EQ(strSetText(str.get(), (longest + "y").c_str()), -1);
  EXPECT_EQ(strAdd(str.get(), str->text), -1);
  EXPECT_EQ(str->text, longest);
  EXPECT_EQ(str->len, 32766);
  const vec_ptr vec(vecNew(65535));
  const oar_ptr oar(oarNew(65520, 1));
  for (int at = 0; at < 65535; ++at) ASSERT_EQ(vecAdd(vec.get(), at), at);
  for (int at = 0; at < 65520; ++at) ASSERT_EQ(oarAdd(oar.get(), &at), at);
  EXPECT_EQ(std::tuple(vecAdd(vec.get(), 1), oarAdd(oar.get(), "1")), std::tuple(-1, -1));
  EXPECT_EQ(std::tuple(vec->size, vec->count, vecGet(vec.get(), 65534)),
            std::tuple(65535, 65535, 65534));
  EXPECT_EQ(std::tuple(oar->size, oar->count), std::tuple(65520, 65520));
  const sar_ptr sar(sarNew(65535, false));
  const std::string large(65531, 'x');
  EXPECT_EQ(sarAdd(sar.get(), (large + "y").c_str()), -1);
  EXPECT_EQ(sarAdd(sar.get(), large.c_str()), 0);
  EXPECT_EQ(sarSet(sar.get(), 0, (large + "y").c_str()), -1);
  EXPECT_EQ(std::tuple(sarAdd(sar.get(), ""), sarResizeData(sar.get(), 65535)), std::tuple(-1, -1));
  EXPECT_EQ(sarResizeData(sar.get(), INT_MAX), -1);
  EXPECT_EQ(std::tuple(sar->size, sar->used, sar->count, sarGet(sar.get(), 0)),
            std::tuple(65535, 65532, 1, large));
  sar->grow = oar->grow = 0;
  EXPECT_EQ(std::tuple(sarResizeData(sar.get(), 65535), oarAdd(oar.get(), "1")),
            std::tuple(-1, -1));
}

TEST(Sar, KeepsItsBlockInOrder) {
  const sar_ptr sar(sarNew(8, false));
  EXPECT_EQ(sarAdd(sar.get(), "abc"), 0);
  EXPECT_EQ(std::string(sar->block + 4, 4), std::string("abc\0", 4));
  EXPECT_EQ(sarAdd(sar.get(), "defg"), 1);
  EXPECT_EQ(sarAdd(sar.get(), ""), 2);
  EXPECT_EQ(sarSet(sar.get(), 1, "longer"), 1);
  EXPECT_EQ(sarSet(sar.get(), 0, "a"), 0);
  EXPECT_EQ(std::tuple(sar->size, sar->used, sar->count, sar->grow), std::tuple(264, 12, 3, 256));
  EXPECT_EQ(std::string(sar->block + 252, 12), std::string("\0longer\0a\0c\0", 12));
  const std::uint16_t offsets[] = {3, 10, 11};
  EXPECT_EQ(std::memcmp(sar->block, offsets, sizeof offsets), 0);
  const std::pair<int, int> needs[] = {
      {-1, 264}, {263, 264}, {264, 520}, {1031, 1032}, {1032, 1288}};
  for (const auto& [need, size] : needs) {
    EXPECT_EQ(sarResizeData(sar.get(), need), 0);
    EXPECT_EQ(sar->size, size);
    EXPECT_STREQ(sarGet(sar.get(), 1), "longer");
  }
  const sar_ptr small(sarNew(8, false));
  EXPECT_EQ(sarAdd(small.get(), "abc"), 0);
  EXPECT_EQ(sarAdd(small.get(), sarGet(small.get(), 0) + 3), 1);  // stands in the last byte
  EXPECT_STREQ(sarGet(small.get(), 1), "");
}

TEST(Str, StandsWithoutAText) {
  const str_ptr str(strNew()), other(strNew());
  strReset(str.get());
  EXPECT_EQ(std::tuple(str->size, str->len, strGetText(str.get())), std::tuple(0, 0, nullptr));
  EXPECT_EQ(strAddS(str.get(), other.get()), 0);
  EXPECT_STREQ(strGetText(str.get()), "");
  EXPECT_EQ(strSetText(other.get(), "abc"), 3);
  other->len = 2;
  EXPECT_EQ(strAddS(other.get(), other.get()), 4);
  EXPECT_STREQ(strGetText(other.get()), "abab");
}

TEST(Str, SearchFindsWhatIsThere) {
  const char* const texts[] = {"", "a", "b", "b", "b", "ba", "z", "\x80", "\xff"};
  const std::tuple<const char*, int, int> cases[] = {
      {"", 0, -1},    {"", -1, -1},    {"", 9, 0},    {"a", 9, 1},   {"b", 9, 4},
      {"b", 4, 2},    {"ba", 9, 5},    {"ba", 5, -1}, {"z", 9, 6},   {"\x80", 9, 7},
      {"\xff", 9, 8}, {"\xff", 8, -1}, {"A", 9, -1},  {"aa", 9, -1}, {"\xff!", 9, -1}};
  for (const auto& [key, n, index] : cases) EXPECT_EQ(strSearch(key, texts, n), index) << key << n;
}

TEST(Containers, AcceptNullWhereTheySaySo) {
  strDelete(nullptr), barDelete(nullptr), vecDelete(nullptr), vecReset(nullptr);
  oarDelete(nullptr), oarReset(nullptr), sarDelete(nullptr), sarReset(nullptr);
  EXPECT_EQ(std::tuple(oarAdd(nullptr, ""), oarGet(nullptr, 0)), std::tuple(-1, nullptr));
  EXPECT_EQ(std::tuple(sarAdd(nullptr, ""), sarGet(nullptr, 0)), std::tuple(-1, nullptr));
  EXPECT_EQ(std::tuple(sarSet(nullptr, 0, ""), sarResizeData(nullptr, 0)), std::tuple(-1, -1));
}

TEST(BufDeathTest, TrapsWithItsReason) {
  const buf_ptr buf(bufNew(1));
  EXPECT_EQ(bufAddC(buf.get(), 'c'), 1);
  // clang-format off
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] { bufNewStatic(nullptr, 1); }, "null buffer"}, {[] { bufClr(nullptr); }, "null buffer"},
      {[] { bufAdd(nullptr, ""); }, "null buffer"}, {[] { bufAddC(nullptr, 0); }, "null buffer"},
      {[] { bufFlush(nullptr); }, "null buffer"}, {[] { bufGet(nullptr); }, "null buffer"},
      {[] { bufTrap(nullptr); }, "null buffer"}, {[&] { bufTrap(buf.get()); }, "overflow"},
      {[&] { bufAddC(buf.get(), 0); }, "overflow"}, {[&] { bufAdd(buf.get(), "c"); }, "overflow"}};
  // clang-format on
  for (const auto& [call, reason] : cases)
    EXPECT_EXIT(call(), testing::KilledBySignal(SIGABRT), "^Buf: " + std::string(reason) + "\n");
}

TEST(Buf, StaysWithinTheMemoryGiven) {
  for (const int size : {-1, 0, 1, 9}) {
    const std::size_t needed = offsetof(Buf, data) + std::max(size, 0) + 1;
    EXPECT_GE(bufBytes(std::max(size, 0)), needed);
    std::vector<char> memory(needed, '#');
    Buf* const buf = reinterpret_cast<Buf*>(memory.data());
    bufNewStatic(buf, size);
    EXPECT_EQ(std::tuple(buf->size, buf->len, buf->stream, buf->trap, *buf->data),
              std::tuple(std::max(size, 0), 0, nullptr, 1, '\0'));
    for (int at = 0; at < size; ++at) EXPECT_EQ(bufAddC(buf, 'c'), at + 1);
    EXPECT_EQ(bufGet(buf), std::string(buf->size, 'c'));
  }
}

TEST(Buf, GoesOnWhenItsStreamIsFull) {
  const buf_ptr buf(bufNew(4));
  buf->stream = std::fopen("/dev/full", "w");
  std::setbuf(buf->stream, nullptr);
  const std::tuple<const char*, int, const char*> cases[] = {
      {"abc", 3, "abc"}, {"de", 2, "de"}, {"fghi", 0, ""}, {"j", 1, "j"}};
  for (const auto& [text, len, content] : cases) {
    EXPECT_EQ(bufAdd(buf.get(), text), len);
    EXPECT_STREQ(buf->data, content);
  }
  EXPECT_EQ(std::tuple(bufFlush(buf.get()), buf->len, *buf->data), std::tuple(0, 0, '\0'));
  std::fclose(buf->stream);
}

}  // namespace
}  // namespace ruvex
