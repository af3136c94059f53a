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
#include "support/temporary_file.h"

namespace ruvex {
namespace {

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

TEST(Sar, KeepsItsTextsAndItsBlockInOrder) {
  constexpr int add = -2;  // otherwise the index that is set
  const char *const first = "of text 0", *const second = "of text 1";
  // clang-format off
  const std::tuple<int, const char*, int, int, int, std::string> steps[] = {  // size, used, texts
      {add, "abc", 0, 8, 4, "abc,"}, {add, first, 1, 264, 7, "abc,bc,"},
      {add, "defgh", 2, 264, 13, "abc,bc,defgh,"}, {add, "bc", 1, 264, 13, "abc,bc,defgh,"},
      {0, "de", 0, 264, 13, "de,bc,defgh,"}, {1, "defg", 1, 264, 15, "de,defg,defgh,"},
      {0, "d", 0, 264, 15, "d,defg,defgh,"}, {2, second, 2, 264, 15, "d,defg,efg,"},
      {0, second, 0, 264, 17, "efg,defg,efg,"}, {3, "x", -1, 264, 17, "efg,defg,efg,"},
      {-1, "x", -1, 264, 17, "efg,defg,efg,"}, {add, "", 3, 264, 18, "efg,defg,efg,,"},
      {add, "efg", 0, 264, 18, "efg,defg,efg,,"}};
  // clang-format on
  const sar_ptr sar(sarNew(8, true));
  for (const auto& [i, text, result, size, used, texts] : steps) {
    const char* const from = text == first    ? sarGet(sar.get(), 0) + 1
                             : text == second ? sarGet(sar.get(), 1) + 1
                                              : text;
    EXPECT_EQ(i == add ? sarAdd(sar.get(), from) : sarSet(sar.get(), i, from), result) << texts;
    std::string held;
    for (int at = 0; at < sar->count; ++at) held += std::string(sarGet(sar.get(), at)) + ",";
    EXPECT_EQ(std::tuple(sar->size, sar->used, held), std::tuple(size, used, texts));
  }
  EXPECT_EQ(std::string(sar->block + 246, 18), std::string("\0efg\0h\0defg\0efg\0\0\0", 18));
  const std::uint16_t offsets[] = {5, 10, 16, 17};
  EXPECT_EQ(std::memcmp(sar->block, offsets, sizeof offsets), 0);
  sar->unique = 0;
  EXPECT_EQ(std::tuple(sarAdd(sar.get(), "efg"), sarGet(sar.get(), -1)), std::tuple(4, nullptr));
  for (const auto& [need, size] : {std::pair(-1, 264), {263, 264}, {264, 520}, {1031, 1032}}) {
    EXPECT_EQ(std::tuple(sarResizeData(sar.get(), need), sar->size), std::tuple(0, size));
    EXPECT_STREQ(sarGet(sar.get(), 1), "defg");
  }
  sarReset(sar.get());
  EXPECT_EQ(std::tuple(sar->count, sar->used, sar->size), std::tuple(0, 0, 1032));
}

TEST(Str, HoldsWhatItIsGiven) {
  const auto reset = [](Str* str, const char*) { return strReset(str), int{str->len}; };
  const auto add_s = [](Str* str, const char* text) {
    std::string copy(text);
    Str source = {0, 2, copy.data()};
    return strAddS(str, &source);
  };
  const auto add_itself = [](Str* str, const char*) { return str->len = 3, strAddS(str, str); };
  const char* const own = "the text from its second character on";
  using call_of_str = std::int32_t (*)(Str*, const char*);
  // clang-format off
  const std::tuple<call_of_str, const char*, int, int, std::string> steps[] = {  // len, size
      {reset, "", 0, 0, "none"}, {add_s, "abcd", 2, 16, "ab"}, {strAdd, "cd", 4, 16, "abcd"},
      {strAdd, "efghijklmno", 15, 16, "abcdefghijklmno"},
      {strSetText, own, 14, 16, "bcdefghijklmno"}, {strAdd, "pq", 16, 32, "bcdefghijklmnopq"},
      {strAdd, own, 31, 32, "bcdefghijklmnopqcdefghijklmnopq"},
      {strAdd, own, 61, 64, "bcdefghijklmnopqcdefghijklmnopqcdefghijklmnopqcdefghijklmnopq"},
      {add_itself, "", 6, 64, "bcdbcd"}, {strAdd, "", 6, 64, "bcdbcd"}, {reset, "", 0, 64, ""}};
  // clang-format on
  const str_ptr str(strNew()), none(strNew());
  for (const auto& [call, text, len, size, held] : steps) {
    EXPECT_EQ(call(str.get(), text == own ? str->text + 1 : text), len) << held;
    const char* const now = strGetText(str.get());
    EXPECT_EQ(std::tuple(str->len, str->size, now == nullptr ? "none" : std::string(now)),
              std::tuple(len, size, held));
  }
  EXPECT_EQ(std::tuple(strAddS(none.get(), none.get()), none->size), std::tuple(0, 16));
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

TEST(Buf, KeepsTheLatestTextOrPassesItOn) {
  const auto add_c = [](Buf* buf, const char* text) { return bufAddC(buf, *text); };
  const auto flush = [](Buf* buf, const char*) { return bufFlush(buf); };
  const auto clr = [](Buf* buf, const char*) { return bufClr(buf); };
  std::vector<char> memory(offsetof(Buf, data) + 5, '#');  // not a byte more than it takes
  Buf* const buf = reinterpret_cast<Buf*>(memory.data());
  const char* const own = buf->data + 1;
  using step = std::tuple<std::int32_t (*)(Buf*, const char*), const char*, int, std::string>;
  // clang-format off
  const step without_stream[] = {
      {bufAdd, "abc", 3, "abc"}, {bufAdd, own, 2, "bc"}, {add_c, "d", 3, "bcd"},
      {add_c, "e", 4, "bcde"}, {add_c, "f", -1, "bcde"}, {flush, "", 0, "bcde"},
      {bufAdd, "wxyz", -1, ""}, {add_c, "g", 1, "g"}, {clr, "", 0, ""}};
  const step with_stream[] = {
      {add_c, "a", 1, "a"}, {bufAdd, "bc", 3, "abc"}, {bufAdd, own, 2, "bc"},
      {bufAdd, "", 2, "bc"}, {add_c, "d", 3, "bcd"}, {add_c, "e", 4, "bcde"}, {add_c, "f", 1, "f"},
      {bufAdd, "wxyz", 0, ""}, {flush, "", 0, ""}, {bufAdd, "gh", 2, "gh"}, {flush, "", 2, ""},
      {add_c, "i", 1, "i"}, {clr, "", 0, ""}};
  // clang-format on
  const auto play = [&](const step& row) {
    const auto& [call, text, result, held] = row;
    EXPECT_EQ(call(buf, text), result) << held;
    EXPECT_EQ(std::tuple(buf->len, buf->data), std::tuple(held.size(), held));
    EXPECT_EQ(bufGet(buf), buf->stream == nullptr ? held : "");
  };
  bufNewStatic(buf, 4);
  EXPECT_EQ(std::tuple(buf->size, buf->len, buf->stream, std::exchange(buf->trap, 0), *buf->data),
            std::tuple(4, 0, nullptr, 1, '\0'));
  std::for_each(std::begin(without_stream), std::end(without_stream), play);
  const temporary_file file;
  buf->stream = std::fopen(file.path(), "w");
  std::for_each(std::begin(with_stream), std::end(with_stream), play);
  std::fclose(buf->stream);
  EXPECT_EQ(file.content(), "abcbcdefwxyzgh");
  buf->stream = std::fopen("/dev/full", "w");
  std::setbuf(buf->stream, nullptr);
  EXPECT_EQ(bufAdd(buf, "abc"), 3);
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
