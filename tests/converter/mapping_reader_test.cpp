#include "ruvex/converter/mapping_reader.h"

#include <utility>
#include <vector>

#include "converter/unit_list.h"
#include "gtest/gtest.h"

namespace ruvex {
namespace {

using changes = std::vector<std::pair<std::size_t, std::string>>;

// A point line of `count` fields, the usual ones but for the changes.
std::string point(const changes& fields = {}, std::size_t count = 17) {
  std::vector<std::string> cells = {"7", "1", "Zone", "5", "40001", "T", "ANALOG_INPUT", "3", "U"};
  cells.resize(17, "0");
  for (const auto& [field, text] : fields) cells.at(field) = text;
  std::string line;
  for (std::size_t field = 0; field < count; ++field) line += cells[field] + ',';
  return line + '\n';
}

TEST(MappingReader, AFailureLeavesWhatWasReadInOrder) {
  const std::string before = point({{3, "9"}, {4, "40005"}}) + "\n" +
                             point({{4, "40003"}, {5, "Bit16"}, {10, "4"}}) +
                             point({{4, "40003"}, {5, "Bit16"}, {10, "1"}}) + point();
  const std::string rest = "40001 40003:2 40003:16] 9[40005]", list = "5[" + rest;
  const std::string too_long = "Line 6 is longer than 1023 characters, exiting.";
  const std::string nul = "Line 6 holds a NUL byte, exiting.";
  const std::string illegal = "Illegal Modbus reference, exiting.";
  const struct {
    std::string line;
    int result;
    std::string log, list;
  } cases[] = {
      // clang-format off
      {std::string(1022, ',') + "\n", csv_read, "", list + " 1/1[40001]"},
      {std::string(1023, ',') + "\n", csv_bad_line, too_long, list},
      {point({{16, std::string("0,\0", 3)}}), csv_bad_line, nul, list},
      {point({{4, "20001"}}), csv_illegal_reference, illegal, "5[20001 " + rest},
      {point({{3, "7"}, {4, "20001"}}, 5), csv_illegal_reference, illegal,
       "5[40001 40003:2 40003:16] 7[] 9[40005]"},
      {point({{4, " 40001"}}, 10), csv_illegal_reference, illegal, list},
      {point({{9, std::string(64, 'd')}, {4, "30009"}}), csv_read, "Line 6: description cut to 63 characters\n",
       "5[30009 " + rest + " 1/1[40001]"},
      // clang-format on
  };
  const temporary_file file;
  for (const auto& row : cases) {
    file.filled_with(before + row.line + point({{3, "1/1"}}));
    testing::internal::CaptureStdout();
    EXPECT_EQ(read_csv_file(file.path()), row.result) << row.line;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), row.log) << row.line;
    EXPECT_EQ(list_text(modUnits), row.list) << row.line;
  }
  read_csv_file(file.filled_with(point({{5, "Bit32 LO/HI"}}, 10) + point()));
  EXPECT_EQ(modUnits->chn_list->reg_size, "1") << "nothing stays of a line that adds no channel";
  EXPECT_EQ(read_csv_file(file.filled_with("Title line only\n20001\n" + point({}, 2))), csv_read);
  EXPECT_EQ(modUnits, nullptr) << "a read replaces the one before";
}

// "@" is 31 characters, which every field takes; one more ends the read.
TEST(MappingReader, FieldsHold31Characters) {
  const changes cases = {{1, "@"},  {3, "@"},  {3, "@/1"}, {3, "4/@"}, {4, "@"},
                         {4, "X@"}, {6, "@"},  {7, "@  "}, {8, "@"},   {11, "@"},
                         {12, "@"}, {13, "@"}, {14, "@"},  {15, "@"},  {16, "@"}};
  const temporary_file file;
  for (auto [field, text] : cases) {
    const std::string message = "Line 1: field " + std::to_string(field);
    text.replace(text.find('@'), 1, std::string(31, '4'));
    EXPECT_EQ(read_csv_file(file.filled_with(point({{field, text}}))), csv_read) << message;
    testing::internal::CaptureStdout();
    text.insert(text.rfind('4'), 1, '4');
    EXPECT_EQ(read_csv_file(file.filled_with(point({{field, text}}))), csv_field_too_long);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              message + " is longer than 31 characters, exiting.");
  }
}

TEST(MappingReader, AUnitHolds32767Channels) {
  const temporary_file file;
  std::string mapping;
  for (int line = 0; line < 32767; ++line) mapping += point();
  EXPECT_EQ(read_csv_file(file.filled_with(mapping + point({{3, "1"}}))), csv_read);
  testing::internal::CaptureStdout();
  EXPECT_EQ(read_csv_file(file.filled_with(mapping + point({{3, "05"}}))), csv_too_many_channels);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Line 32768: more than 32767 channels in one unit, exiting.");
  EXPECT_EQ(modUnits->chn_count, 32767);
}

}  // namespace
}  // namespace ruvex
