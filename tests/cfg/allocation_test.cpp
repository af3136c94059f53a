// Every allocation of an operation fails once.
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>

#include "cfg/document_text.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/xml_reader.h"
#include "support/failing_allocations.h"
#include "support/temporary_file.h"

namespace ruvex {
namespace {

// Runs `operate`, which returns an owning pointer, with its first allocation failing, then its
// second, and so on, until all succeed. Each failure gives null, holds no block and prints `line`,
// except the first `silent` ones. Returns the number of allocations.
template <class Operate>
int allocations(Operate operate, const char* line = "", int silent = 0) {
  for (int failing = 0;; ++failing) {
    testing::internal::CaptureStderr();
    watch(failing);
    const auto result = operate();
    watching = false;
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result == nullptr, failing < calls) << failing;
    if (result != nullptr || failing > 1000) return calls;
    EXPECT_EQ(live_blocks, 0) << failing;
    EXPECT_EQ(printed, failing < silent ? "" : line) << failing;
  }
}

TEST(Allocation, EachFailureOfMakingCopyingOrAddingGivesNull) {
  EXPECT_EQ(allocations([] { return yax_cfg_ptr(make_default_yax_cfg()); }), 14);
  yax_cfg doc = {};
  const unit_cfg_ptr unit(add_unit_cfg(&doc, 0, 1));
  const std::string before = document_text(doc);
  EXPECT_EQ(allocations([&] { return yax_cfg_ptr(copy_yax_cfg(&doc)); }), 10);
  EXPECT_EQ(allocations([&] { return unit_cfg_ptr(copy_unit_cfg(unit.get())); }), 9);
  unit_cfg_ptr added;
  const auto add = [&] {
    added.reset(add_unit_cfg(&doc, 0, 1));
    return added.get();
  };
  EXPECT_EQ(allocations(add), 9);
  EXPECT_EQ(doc.unit_count, 2) << "no failure has left anything";
  del_unit_cfg(added.release());
  doc.unit_count = 1;
  EXPECT_EQ(document_text(doc), before);
}

// The document grows every buffer that the reader and the parser have.
TEST(Allocation, EachFailureOfReadingEndsTheRead) {
  std::string nested = "<x a='" + std::string(2000, 'v') + "'/>";
  for (int depth = 0; depth < 40; ++depth) {
    const std::string name(static_cast<std::size_t>(200 + depth), 'n');
    nested = "<" + name + ">" + nested + "</" + name + ">";
  }
  const temporary_file file;
  file.filled_with(
      "<unit_cfg poll_delay='&amp;'><chn_cfg><chn_type>&lt;</chn_type></chn_cfg></unit_cfg>"
      "<unit_cfg>" +
      nested + std::string(5U << 20, ' ') + "</unit_cfg>");
  const auto read = [&] {
    xml_read_report report;
    auto units = read_xml_unit_cfg(file.path(), &report).value_or(nullptr);
    EXPECT_EQ(report.error, units != nullptr ? 0 : ENOMEM);
    return units;
  };
  // The document, the file's bytes, and four blocks of the parser come before the parse.
  EXPECT_GE(allocations(read, "XML PARSE ERROR \"out of memory\" on line 1\r\n", 6), 12);
}

}  // namespace
}  // namespace ruvex
