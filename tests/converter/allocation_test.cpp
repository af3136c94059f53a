// Every allocation of a run fails once.
#include <set>
#include <string>
#include <vector>

#include "converter/unit_list.h"
#include "gtest/gtest.h"
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

// What a run comes to: the read's result, the list that it leaves, what it prints, the document.
std::string run(std::string_view mapping, int failing) {
  const temporary_file csv, xml;
  const char* csv_path = csv.filled_with(mapping);
  cur_tab = 0;
  testing::internal::CaptureStdout();
  watch(failing);
  const int read = read_csv_file(csv_path);
  if (read == csv_read) write_xml_unit_cfg(modUnits, xml.path());
  watching = false;
  const std::string list = std::to_string(read) + " " + list_text(modUnits) + " ";
  watching = true;
  free_units();
  watching = false;
  EXPECT_EQ(live_blocks, 0) << failing;
  EXPECT_EQ(modUnits, nullptr) << failing;
  return list + testing::internal::GetCapturedStdout() + xml.content();
}

TEST(Allocation, EachFailureEndsTheReadAndLeavesAListInOrder) {
  const std::string refused = std::to_string(csv_no_memory), message = "Out of memory, exiting.";
  std::string mapping;
  std::set<std::string> failures = {refused + "  " + message};
  for (const std::string& line : mapping_lines()) {
    // A line may have made its unit alone.
    for (const std::string& read : {mapping + line.substr(0, line.find(",3000")), mapping + line}) {
      const std::string got = run(read, never);
      failures.insert(refused + got.substr(1, got.find('\t') - 1) + message);
    }
    mapping += line;
  }
  const std::string whole = run(mapping, never);
  std::set<std::string> failed_functions;
  int spared = 0;  // runs that do without what could not be allocated
  for (int nth = 0;; ++nth) {
    const std::string got = run(mapping, nth);
    if (failed == nullptr) break;
    failed_functions.insert(failed);
    // Where libc is linked in, its opening of a file is watched too.
    const bool is_unwritten = whole.starts_with(got) && xml_write_error == ENOMEM;
    if (got == whole) ++spared;
    EXPECT_TRUE(got == whole || is_unwritten || failures.contains(got)) << nth << failed << got;
  }
  EXPECT_EQ(spared, 1) << "the table of recent units alone is dispensable";
  EXPECT_EQ(failed_functions, (std::set<std::string>{"calloc", "malloc", "realloc", "tsearch"}));
}

}  // namespace
}  // namespace ruvex
