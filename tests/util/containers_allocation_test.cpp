// Every allocation of an operation fails once.
#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <string>

#include "ruvex/util/base64.h"
#include "ruvex/util/buf.h"
#include "ruvex/util/oar.h"
#include "ruvex/util/sar.h"
#include "ruvex/util/vec.h"
#include "support/failing_allocations.h"

namespace ruvex {
namespace {

TEST(Allocation, EachFailureIsReportedAndChangesNothing) {
  const str_ptr str(strNew()), source(strNewS("Zm9v"));
  const vec_ptr vec(vecNew(1));
  const oar_ptr oar(oarNew(1, 3));
  const sar_ptr sar(sarNew(8, true));
  const bar_ptr bar(barNewC(10));
  vecAdd(vec.get(), 1);
  oarAdd(oar.get(), "abc");
  sarAdd(sar.get(), "abc");
  const auto state = [&] {
    std::string all = str->text == nullptr ? "none" : str->text;
    for (const int field :
         {int{str->size}, int{str->len}, int{vec->size}, int{vec->count}, int{oar->size},
          int{oar->count}, int{sar->size}, int{sar->count}, int{sar->used}})
      all += "," + std::to_string(field);
    return all + std::to_string(vecGet(vec.get(), 0)) +
           std::string(static_cast<char*>(oarGet(oar.get(), 0)), 3) + sarGet(sar.get(), 0);
  };
  const std::string longer(300, 'x');
  const struct {
    const char* what;
    int allocations;
    std::function<bool()> succeeds;
  } rows[] = {
      {"strNew", 1, [] { return str_ptr(strNew()) != nullptr; }},
      {"strNewN", 2, [] { return str_ptr(strNewN(9)) != nullptr; }},
      {"strNewS", 2, [] { return str_ptr(strNewS("text")) != nullptr; }},
      {"barNew", 1, [] { return bar_ptr(barNew()) != nullptr; }},
      {"barNewC", 2, [] { return bar_ptr(barNewC(9)) != nullptr; }},
      {"vecNew", 2, [] { return vec_ptr(vecNew(9)) != nullptr; }},
      {"oarNew", 2, [] { return oar_ptr(oarNew(9, 9)) != nullptr; }},
      {"sarNew", 2, [] { return sar_ptr(sarNew(9, true)) != nullptr; }},
      {"barBase64encode", 1,
       [&] { return base64_text_ptr(barBase64encode(bar.get())) != nullptr; }},
      {"base64decodeData", 2, [] { return bar_ptr(base64decodeData("Zm9v")) != nullptr; }},
      {"strBase64decode", 2, [&] { return bar_ptr(strBase64decode(source.get())) != nullptr; }},
      {"strSetText", 1, [&] { return strSetText(str.get(), "text") == 4; }},
      {"strAdd", 1, [&] { return strAdd(str.get(), longer.c_str()) == 304; }},
      {"vecAdd", 1, [&] { return vecAdd(vec.get(), 2) == 1; }},
      {"oarAdd", 1, [&] { return oarAdd(oar.get(), "def") == 1; }},
      {"sarAdd", 1, [&] { return sarAdd(sar.get(), "defg") == 1; }},
      {"sarSet", 1, [&] { return sarSet(sar.get(), 0, longer.c_str()) == 0; }},
      {"sarResizeData", 1, [&] { return sarResizeData(sar.get(), 4000) == 0; }},
  };
  for (const auto& row : rows) {
    for (int failing = 0; failing <= row.allocations; ++failing) {
      const std::string before = state();
      watch(failing);
      const bool done = row.succeeds();
      watching = false;
      EXPECT_EQ(done, failing == row.allocations) << row.what << failing;
      if (done) continue;
      EXPECT_EQ(live_blocks, 0) << row.what;
      EXPECT_EQ(state(), before) << row.what;
    }
  }
}

TEST(AllocationDeathTest, BufTrapsWithoutMemory) {
  EXPECT_EXIT((watch(0), bufNew(9)), testing::KilledBySignal(SIGABRT), "^Buf: out of memory\n");
}

}  // namespace
}  // namespace ruvex
