#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "ruvex/util/base64.h"
#include "ruvex/util/buf.h"
#include "ruvex/util/oar.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/str.h"
#include "ruvex/util/vec.h"
#include "support/failing_allocations.h"

namespace ruvex {
namespace {

// What the containers do with scripts of many steps is compared with models of them in ../../fuzz.

TEST(Containers, AreMadeInTheSizesAsked) {
  // clang-format off
  const std::tuple<int, int, int> sizes[] = {  // asked; Str and Bar; Vec, Oar and Sar
      {INT_MIN, -1, -1}, {-1, -1, -1}, {0, 0, 0}, {1, 1, 1}, {32767, 32767, 32767},
      {32768, -1, 32768}, {65535, -1, 65535}, {65536, -1, -1}, {65552, -1, -1}, {INT_MAX, -1, -1}};
  const std::pair<int, int> strides[] = {{INT_MIN, -1}, {0, -1}, {1, 4}, {4, 4}, {5, 8},
                                         {65532, 65532}, {65533, -1}, {INT_MAX, -1}};
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
  const bar_ptr bar(barNewC(100)), none(barNew());
  EXPECT_EQ(std::count(bar->data, bar->data + 100, 0), 100);
  EXPECT_EQ(std::tuple(none->size, none->len, none->data), std::tuple(0, 0, nullptr));
}

TEST(Containers, OfObjectsGrowBy16UpToTheirLimit) {
  constexpr int first = 65210, last = 65530;
  const vec_ptr vec(vecNew(first));
  const oar_ptr oar(oarNew(first, 5));
  const auto item = [](int at) { return std::to_string(10000 + at); };
  for (int at = 0; at < last; ++at) {
    // The first in a new block is a copy of an earlier one, which moves.
    const void* const own = at % 16 == first % 16 ? oarGet(oar.get(), at - 1) : nullptr;
    ASSERT_EQ(vecAdd(vec.get(), at * 32767), at);
    ASSERT_EQ(oarAdd(oar.get(), own == nullptr ? item(at).c_str() : own), at);
    const int size = at < first ? first : first + (at - first) / 16 * 16 + 16;
    ASSERT_EQ(std::tuple(vec->size, vec->count, oar->size, oar->count),
              std::tuple(size, at + 1, size, at + 1));
  }
  for (int at = 0; at < last; ++at) {
    ASSERT_EQ(vecGet(vec.get(), at), at * 32767);
    ASSERT_EQ(std::string(static_cast<const char*>(oarGet(oar.get(), at)), 5),
              item(at % 16 == first % 16 ? at - 1 : at));
  }
  EXPECT_EQ(std::tuple(vecAdd(vec.get(), 1), oarAdd(oar.get(), "1")), std::tuple(-1, -1));
  for (const int out : {INT_MIN, -1, last, INT_MAX})
    EXPECT_EQ(std::tuple(vecGet(vec.get(), out), oarGet(oar.get(), out)), std::tuple(0, nullptr));
  vecReset(vec.get());
  oarReset(oar.get());
  EXPECT_EQ(std::tuple(vecGet(vec.get(), 0), oarGet(oar.get(), 0)), std::tuple(0, nullptr));
  EXPECT_EQ(std::tuple(vec->size, vec->count, oar->size, oar->count), std::tuple(last, 0, last, 0));
  oar->size = oar->grow = 0;
  EXPECT_EQ(oarAdd(oar.get(), "1"), -1);
}

TEST(Containers, OfTextsRefuseWhatTheirFieldsDoNotHold) {
  const str_ptr str(strNewN(32767));
  const std::string longest(32766, 'x'), large(65531, 'x');
  EXPECT_EQ(str_ptr(strNewS(longest.c_str() + 16))->size, 32752);  // of 32750 characters
  EXPECT_EQ(strNewS(longest.c_str() + 15), nullptr);
  EXPECT_EQ(strSetText(str.get(), longest.c_str()), 32766);
  EXPECT_EQ(strAdd(str.get(), "y"), -1);
  EXPECT_EQ(strSetText(str.get(), (longest + "y").c_str()), -1);
  EXPECT_EQ(strAdd(str.get(), str->text), -1);
  EXPECT_EQ(std::tuple(str->text, str->len), std::tuple(longest, 32766));
  const sar_ptr sar(sarNew(65535, false));
  EXPECT_EQ(sarAdd(sar.get(), (large + "y").c_str()), -1);
  EXPECT_EQ(sarAdd(sar.get(), large.c_str()), 0);
  EXPECT_EQ(sarSet(sar.get(), 0, (large + "y").c_str()), -1);
  EXPECT_EQ(std::tuple(sarAdd(sar.get(), ""), sarResizeData(sar.get(), 65535)), std::tuple(-1, -1));
  EXPECT_EQ(sarResizeData(sar.get(), INT_MAX), -1);
  EXPECT_EQ(std::tuple(sar->size, sar->used, sar->count, sarGet(sar.get(), 0)),
            std::tuple(65535, 65532, 1, large));
  sar->grow = 0;
  EXPECT_EQ(sarResizeData(sar.get(), 65535), -1);
}

TEST(Sar, LaysTextsOutFromTheEndOfItsBlockAndOffsetsFromItsStart) {
  const sar_ptr sar(sarNew(8, true));
  const std::pair<const char*, int> added[] = {{"abc", 0}, {"bc", 1}, {"defgh", 2}, {"bc", 1}};
  for (const auto& [text, index] : added) EXPECT_EQ(sarAdd(sar.get(), text), index);
  EXPECT_EQ(sarSet(sar.get(), 1, "defg"), 1);
  EXPECT_EQ(std::string(sar->block + 249, 15), std::string("defgh\0defg\0abc\0", 15));
  const std::uint16_t offsets[] = {3, 8, 14};
  EXPECT_EQ(std::memcmp(sar->block, offsets, sizeof offsets), 0);
  sar->unique = 0;
  EXPECT_EQ(std::tuple(sarAdd(sar.get(), "abc"), sarGet(sar.get(), -1)), std::tuple(3, nullptr));
  for (const auto& [need, size] : {std::pair(-1, 264), {263, 264}, {264, 520}, {1031, 1032}}) {
    EXPECT_EQ(std::tuple(sarResizeData(sar.get(), need), sar->size), std::tuple(0, size));
    EXPECT_STREQ(sarGet(sar.get(), 1), "defg");
  }
  sarReset(sar.get());
  EXPECT_EQ(std::tuple(sar->count, sar->used, sar->size), std::tuple(0, 0, 1032));
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

TEST(Buf, StandsInTheMemoryThatItIsGivenAndForgetsWhatItsStreamDoesNotTake) {
  std::vector<char> memory(offsetof(Buf, data) + 5, '#');  // not a byte more than it takes
  Buf* const buf = reinterpret_cast<Buf*>(memory.data());
  bufNewStatic(buf, 4);
  EXPECT_EQ(std::tuple(buf->size, buf->len, buf->stream, std::exchange(buf->trap, 0), *buf->data),
            std::tuple(4, 0, nullptr, 1, '\0'));
  EXPECT_EQ((std::tuple{bufAdd(buf, "abc"), bufAddC(buf, 'd'), bufAddC(buf, 'e')}),
            (std::tuple{3, 4, -1}));
  EXPECT_STREQ(bufGet(buf), "abcd");
  buf->stream = std::fopen("/dev/full", "w");
  std::setbuf(buf->stream, nullptr);
  EXPECT_EQ(std::tuple(bufFlush(buf), buf->len), std::tuple(0, 0)) << "what it took";
  std::fclose(buf->stream);
  bufNewStatic(buf, -1);
  buf->stream = stdout;
  EXPECT_EQ(std::tuple(buf->size, bufAddC(buf, ' '), *buf->data), std::tuple(0, 0, '\0'));
}

TEST(BufDeathTest, TrapsWithItsReason) {
  const buf_ptr buf(bufNew(1));
  EXPECT_EQ(std::tuple(bufAddC(buf.get(), 'c'), bufNew(-1)), std::tuple(1, nullptr));
  // clang-format off
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[] { bufNewStatic(nullptr, 1); }, "null buffer"}, {[] { bufClr(nullptr); }, "null buffer"},
      {[] { bufAdd(nullptr, ""); }, "null buffer"}, {[] { bufAddC(nullptr, 0); }, "null buffer"},
      {[] { bufFlush(nullptr); }, "null buffer"}, {[] { bufGet(nullptr); }, "null buffer"},
      {[] { bufTrap(nullptr); }, "null buffer"}, {[&] { bufTrap(buf.get()); }, "overflow"},
      {[&] { bufAddC(buf.get(), 0); }, "overflow"}, {[&] { bufAdd(buf.get(), "c"); }, "overflow"},
      {[] { watch(0), bufNew(9); }, "out of memory"}};
  // clang-format on
  for (const auto& [call, reason] : cases)
    EXPECT_EXIT(call(), testing::KilledBySignal(SIGABRT), "^Buf: " + std::string(reason) + "\n");
}

TEST(Containers, ReportEveryFailedAllocationAndStayAsTheyAre) {
  const str_ptr str(strNew()), source(strNewS("Zm9v"));
  const vec_ptr vec(vecNew(1));
  const oar_ptr oar(oarNew(1, 3));
  const sar_ptr sar(sarNew(8, true));
  const bar_ptr bar(barNewC(10));
  vecAdd(vec.get(), 1);
  oarAdd(oar.get(), "abc");
  sarAdd(sar.get(), "abc");
  const auto state = [&] {
    return std::tuple(std::string(str->text == nullptr ? "none" : str->text), str->size, str->len,
                      vec->size, vec->count, vecGet(vec.get(), 0), oar->size, oar->count,
                      std::string(static_cast<char*>(oarGet(oar.get(), 0)), 3), sar->size,
                      sar->count, sar->used, std::string(sarGet(sar.get(), 0)));
  };
  const std::string longer(300, 'x');
  const std::tuple<const char*, int, std::function<bool()>> rows[] = {
      // how many allocations
      {"strNewN", 2, [] { return str_ptr(strNewN(9)) != nullptr; }},
      {"strNewS", 2, [] { return str_ptr(strNewS("text")) != nullptr; }},
      {"barNewC", 2, [] { return bar_ptr(barNewC(9)) != nullptr; }},
      {"vecNew", 2, [] { return vec_ptr(vecNew(9)) != nullptr; }},
      {"oarNew", 2, [] { return oar_ptr(oarNew(9, 9)) != nullptr; }},
      {"sarNew", 2, [] { return sar_ptr(sarNew(9, true)) != nullptr; }},
      {"encode", 1, [&] { return base64_text_ptr(barBase64encode(bar.get())) != nullptr; }},
      {"decode", 2, [&] { return bar_ptr(strBase64decode(source.get())) != nullptr; }},
      {"strSetText", 1, [&] { return strSetText(str.get(), "text") == 4; }},
      {"strAdd", 1, [&] { return strAdd(str.get(), longer.c_str()) == 304; }},
      {"vecAdd", 1, [&] { return vecAdd(vec.get(), 2) == 1; }},
      {"oarAdd", 1, [&] { return oarAdd(oar.get(), "def") == 1; }},
      {"sarAdd", 1, [&] { return sarAdd(sar.get(), "defg") == 1; }},
      {"sarSet", 1, [&] { return sarSet(sar.get(), 0, longer.c_str()) == 0; }},
  };
  for (const auto& [what, allocations, succeeds] : rows) {
    for (int failing = 0; failing <= allocations; ++failing) {
      const auto before = state();
      watch(failing);
      const bool done = succeeds();
      watching = false;
      EXPECT_EQ(done, failing == allocations) << what << failing;
      EXPECT_TRUE(done || (live_blocks == 0 && state() == before)) << what;
    }
  }
}

}  // namespace
}  // namespace ruvex
