// Every allocation of a run fails once.
#include <set>
#include <string>
#include <vector>

#include "converter/unit_list.h"
#include "gmock/gmock.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/converter/mapping_reader.h"
#include "support/failing_allocations.h"

namespace ruvex {
namespace {

std::vector<std::string> mapping_lines() {
  std::vector<std::string> lines = {"label,1,short line,10.0.0.9/2\n"};
  for (const char* unit : {"9", "10.0.0.9/1", "5", "9", "10.0.0.10/1", "5", "/5", "9", "1"}) {
    const std::string number = std::to_string(lines.size());
    lines.push_back(number + ",1,N," + unit + ",3000" + std::to_string(9 - lines.size()) +
                    ",Bit16,ANALOG_INPUT,1,U,0," + number + "\n");
  }
  return lines;
}

struct outcome {
  int read, written;
  std::string list, log, document;
};

outcome run(std::string_view mapping, int failing) {
  const temporary_file csv, xml;
  const char* csv_path = csv.filled_with(mapping);
  outcome got = {};
  cur_tab = 0;
  testing::internal::CaptureStdout();
  watch(failing);
  got.read = read_csv_file(csv_path);
  got.written = write_xml_unit_cfg(modUnits, xml.path());
  watching = false;
  got.list = list_text(modUnits);
  watching = true;
  free_units();
  watching = false;
  got.log = testing::internal::GetCapturedStdout();
  got.document = xml.content();
  return got;
}

TEST(Allocation, EachFailureEndsTheReadAndLeavesAListInOrder) {
  std::string mapping;
  std::set<std::string> lists = {""};  // after each line, and after it has only made its unit
  for (const std::string& line : mapping_lines()) {
    lists.insert(run(mapping + line.substr(0, line.find(",3000")), never).list);
    lists.insert(run(mapping += line, never).list);
  }
  const outcome whole = run(mapping, never);
  ASSERT_EQ(whole.read, csv_read);

  std::set<std::string> failed_functions;
  int spared = 0;  // runs that do without what could not be allocated
  for (int nth = 0;; ++nth) {
    const outcome got = run(mapping, nth);
    const std::string what =
        std::to_string(nth) + " " + (failed != nullptr ? failed : "no failure");
    EXPECT_EQ(live_blocks, 0) << what;
    EXPECT_EQ(modUnits, nullptr) << what;
    if (got.read != csv_read) {
      EXPECT_EQ(got.read, csv_no_memory) << what;
      EXPECT_EQ(got.log, "Out of memory, exiting.") << what;
      EXPECT_TRUE(lists.contains(got.list)) << what << ": " << got.list;
    } else if (got.written != 0) {  // where libc is linked in, its opening of a file is watched too
      EXPECT_EQ(xml_write_error, ENOMEM) << what;
    } else {
      EXPECT_EQ(got.document, whole.document) << what;
      EXPECT_EQ(got.log, "") << what;
      if (failed != nullptr) ++spared;
    }
    if (failed == nullptr) break;
    failed_functions.insert(failed);
  }
  EXPECT_EQ(spared, 1) << "the table of recent units alone is dispensable";
  EXPECT_THAT(failed_functions, testing::ElementsAre("calloc", "malloc", "realloc", "tsearch"));
}

}  // namespace
}  // namespace ruvex
