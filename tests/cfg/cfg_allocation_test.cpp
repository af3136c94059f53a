// Every allocation of an operation fails once.
#include <gtest/gtest.h>

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
// second, and so on, until all succeed. Each failure gives null, holds no block, leaves `state`, a
// text of the arguments, as it was, and prints `line`, but for the first `silent` ones. Returns the
// number of allocations.
template <class Operate, class State>
int allocations(Operate operate, State state, const char* line = "", int silent = 0) {
  const std::string before = state();
  for (int failing = 0; failing < 1000; ++failing) {
    testing::internal::CaptureStderr();
    watch(failing);
    const auto result = operate();
    watching = false;
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(result == nullptr, failing < calls) << failing;
    if (result != nullptr) return calls;
    EXPECT_EQ(live_blocks, 0) << failing;
    EXPECT_EQ(state(), before) << failing;
    EXPECT_EQ(printed, failing < silent ? "" : line) << failing;
  }
  return 0;
}

const auto nothing = [] { return std::string(); };

TEST(Allocation, EachFailureOfMakingCopyingOrAddingGivesNull) {
  struct leave {  // to the document
    void operator()(const void*) const {}
  };
  const yax_cfg_ptr doc(make_default_yax_cfg());
  const auto state = [&doc] { return document_text(*doc); };
  const auto add = [&doc] {
    return std::unique_ptr<unit_cfg, leave>(add_unit_cfg(doc.get(), 1, 1));
  };
  EXPECT_EQ(allocations([] { return yax_cfg_ptr(make_default_yax_cfg()); }, nothing), 14);
  EXPECT_EQ(allocations([&] { return yax_cfg_ptr(copy_yax_cfg(doc.get())); }, state), 14);
  EXPECT_EQ(allocations([&] { return unit_cfg_ptr(copy_unit_cfg(doc->unit_list)); }, state), 9);
  EXPECT_EQ(allocations(add, state), 9);
}

TEST(Allocation, EachFailureOfReadingEndsTheRead) {
  std::string nested;
  for (int depth = 0; depth < 40; ++depth) nested += "<" + std::string(200, 'n') + ">";
  for (int depth = 0; depth < 40; ++depth) nested += "</" + std::string(200, 'n') + ">";
  const std::string documents[] = {
      "<yax_cfg name='&amp;'><unit_cfg poll_delay='1'><chn_cfg><chn_type>&lt;</chn_type></chn_cfg>"
      "</unit_cfg><unit_cfg/></yax_cfg>",
      "<yax_cfg>" + nested + "<x a='" + std::string(2000, 'v') + "'/></yax_cfg>",
      "<yax_cfg>" + std::string(5U << 20, ' ') + "</yax_cfg>",
  };
  for (const std::string& document : documents) {
    const temporary_file file;
    const char* path = file.filled_with(document);
    const auto read = [path] { return yax_cfg_ptr(read_xml_cfg(path)); };
    // The document, the file's bytes, and four blocks of the parser come before the parse.
    const char* line = "XML PARSE ERROR \"out of memory\" on line 1\r\n";
    EXPECT_GE(allocations(read, nothing, line, 6), 8) << document.substr(0, 100);
  }
}

}  // namespace
}  // namespace ruvex
