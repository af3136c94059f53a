#include "converter/mapping_reader.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <utility>
#include <vector>

#include "converter/unit_list.h"
#include "gmock/gmock.h"

namespace ruvex {
namespace {

using setting = text<32> chn_cfg::*;
using settings = std::vector<std::pair<setting, const char*>>;
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

class MappingReader : public testing::Test {
 protected:
  ~MappingReader() override { free_units(); }

  int read_path(const std::string& path) {
    testing::internal::CaptureStdout();
    const int result = read_csv_file(path.c_str());
    log_ = testing::internal::GetCapturedStdout();
    return result;
  }
  int read(std::string_view content) { return read_path(file_.filled_with(content)); }

  temporary_file file_;
  std::string log_;  // of the latest read
};

TEST_F(MappingReader, FieldsSetTheSettingsThatFollowFromThem) {
  using c = chn_cfg;
  const struct {
    const char* what;
    std::string line;
    settings stored;
  } cases[] = {
      // clang-format off
      {"a whole line",
       "7,1,Z 1,10.0.0.5/3,40011,Floating Point HI/LO,ANALOG_INPUT,3,PERCENT,D ,0,0,0,0,0,0,1\r\n",
       {{&c::instance, "3"}, {&c::chn_type, "INPUT_MCD_HREG"}, {&c::bac_type, "ANALOG_INPUT"},
        {&c::bac_units, "PERCENT"}, {&c::bac_cov_inc, "1"}, {&c::scl_dev_lo, "0"},
        {&c::scl_dev_hi, "1"}, {&c::scl_usr_lo, "0"}, {&c::scl_usr_hi, "1"},
        {&c::reg_group_en, "0"}, {&c::reg_mask, "0"}, {&c::reg_restart, "1"}, {&c::reg_size, "2"},
        {&c::reg_endian, "BIG"}, {&c::reg_format, "FLOAT"}, {&c::reg_fcn, "16"},
        {&c::limit_hi, "65535"}, {&c::temp_units, "FAHRENHEIT"}, {&c::hoa_switch, "AUTO"}}},
      {"coil", point({{4, "1"}, {6, "BINARY_INPUT"}}),
       {{&c::reg_num, "00001"}, {&c::reg_fcn, "5"}, {&c::chn_type, "INPUT_MCD_BIN"}}},
      {"coil of two registers", point({{4, "X00002"}, {5, "Floating Point LO/HI"}}),
       {{&c::reg_fcn, "5"}, {&c::reg_size, "2"}, {&c::chn_type, "OUTPUT_MCD_BIN"}}},
      {"discrete input", point({{4, "10000"}}),
       {{&c::chn_type, "INPUT_MCD_BIN"}, {&c::reg_fcn, "6"}}},
      {"input register", point({{4, "30001"}, {5, "32 Bit Signed Integer LO/HI"}}),
       {{&c::chn_type, "INPUT_MCD_IREG"}, {&c::reg_fcn, "16"}, {&c::reg_endian, "LITTLE"},
        {&c::reg_format, "SIGNED"}}},
      {"holding register to write", point({{6, "ANALOG_VALUE"}}),
       {{&c::chn_type, "OUTPUT_MCD_HREG"}}},
      {"unknown data type", point({{5, "Double"}, {10, "3"}}),
       {{&c::reg_size, "1"}, {&c::reg_endian, "BIG"}, {&c::reg_format, "UNSIGNED"},
        {&c::reg_mask, "0"}}},
      {"bit", point({{5, "Bit16"}, {10, "3"}, {15, "no"}}),
       {{&c::reg_mask, "8"}, {&c::reg_group_en, "1"}}},
      {"bit 31", point({{5, "Bit32 LO/HI"}, {10, "31"}}),
       {{&c::reg_mask, "-2147483648"}, {&c::reg_fcn, "16"}}},
      {"bit beyond the register", point({{5, "Bit16"}, {10, "40"}}),
       {{&c::reg_mask, "0"}, {&c::reg_group_en, "1"}}},
      {"bit of no known type", point({{5, "a Bit32"}, {10, "1"}}),
       {{&c::reg_mask, "2"}, {&c::reg_size, "1"}}},
      {"group without a bit", point({{15, "no"}, {16, "yes"}}),
       {{&c::reg_group_en, "no"}, {&c::reg_restart, "yes"}}},
      {"no group field", point({{5, "Bit16"}}, 15),
       {{&c::reg_group_en, "0"}, {&c::reg_restart, "0"}}},
      {"scaling", point({{12, "100"}}),
       {{&c::scl_dev_lo, "0"}, {&c::scl_dev_hi, "100"}, {&c::scl_usr_lo, "0"},
        {&c::scl_usr_hi, "0"}}},
      {"scaling by another zero", point({{14, "0.0"}}),
       {{&c::scl_dev_hi, "0"}, {&c::scl_usr_hi, "0.0"}}},
      {"scaling by a blank", point({{13, " "}}), {{&c::scl_dev_hi, "0"}, {&c::scl_usr_lo, ""}}},
      {"scaling of a shorter line", point({{11, "-5"}}, 13),
       {{&c::scl_dev_lo, "-5"}, {&c::scl_dev_hi, "0"}, {&c::scl_usr_lo, ""},
        {&c::scl_usr_hi, ""}}},
      {"no scaling field", point({}, 11), {{&c::scl_dev_hi, "1"}, {&c::scl_usr_hi, "1"}}},
      {"an empty cell moves the others", "7,,1,,Zone,5,40001,Bit16,T,3,U,0,4",
       {{&c::reg_mask, "16"}, {&c::bac_units, "U"}}},
      {"trailing blanks", point({{1, " 2  "}, {6, "ANALOG_INPUT "}}),
       {{&c::bac_cov_inc, " 2"}, {&c::chn_type, "INPUT_MCD_HREG"}}},
      {"nothing stays from a line without a channel",
       point({{5, "Bit32 LO/HI"}, {8, "A"}}, 10) + "7,2,Zone,5,40001,0,T,3, ,0,4\n",
       {{&c::reg_size, "1"}, {&c::reg_endian, "BIG"}, {&c::reg_mask, "0"}, {&c::bac_units, ""}}},
      // clang-format on
  };
  for (const auto& row : cases) {
    ASSERT_EQ(read(row.line), csv_read) << row.what;
    EXPECT_EQ(log_, "") << row.what;
    ASSERT_TRUE(modUnits != nullptr && modUnits->chn_count == 1) << row.what;
    for (const auto& [member, text] : row.stored) {
      EXPECT_EQ(modUnits->chn_list->*member, text) << row.what;
    }
  }
}

TEST_F(MappingReader, LinesThatAddNoChannel) {
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"\n\r\n,,\"\n", ""},
      {"Title line only\n20001\n", ""},
      {point({}, 2) + point({}, 3), ""},
      {point({}, 4), "5[]"},
      {point({}, 10), "5[]"},
      {point({{3, "9"}}, 10) + point() + point({{3, "1/2"}}, 4), "5[40001] 9[] 1/2[]"},
  };
  for (const auto& [content, list] : cases) {
    EXPECT_EQ(read(content), csv_read) << content;
    EXPECT_EQ(list_text(modUnits), list) << content;
    EXPECT_EQ(log_, "");
  }
}

TEST_F(MappingReader, AFailureLeavesWhatWasReadInOrder) {
  const std::string before = point({{3, "9"}, {4, "40005"}}) + "\n" +
                             point({{4, "40003"}, {5, "Bit16"}, {10, "4"}}) +
                             point({{4, "40003"}, {5, "Bit16"}, {10, "1"}}) + point();
  const std::string list = "5[40001 40003:2 40003:16] 9[40005]";
  const std::string too_long = "Line 6 is longer than 1023 characters, exiting.";
  const std::string nul = "Line 6 holds a NUL byte, exiting.";
  const std::string illegal = "Illegal Modbus reference, exiting.";
  const struct {
    const char* what;
    std::string line;
    int result;
    std::string log, list;
  } cases[] = {
      // clang-format off
      {"longest line", std::string(1022, ',') + "\n", csv_read, "", list + " 1/1[40001]"},
      {"line too long", std::string(1023, ',') + "\n", csv_bad_line, too_long, list},
      {"no newline in it", std::string(70000, ','), csv_bad_line, too_long, list},
      {"NUL in the label", point({{0, {"\0", 1}}}), csv_bad_line, nul, list},
      {"NUL beyond the fields", point({{16, std::string("0,\0", 3)}}), csv_bad_line, nul, list},
      {"illegal reference", point({{4, "20001"}}), csv_illegal_reference, illegal,
       "5[20001 40001 40003:2 40003:16] 9[40005]"},
      {"of a line without a channel", point({{3, "7"}, {4, "20001"}}, 5), csv_illegal_reference,
       illegal,
       "5[40001 40003:2 40003:16] 7[] 9[40005]"},
      {"empty reference", point({{4, "X"}}, 10), csv_illegal_reference, illegal, list},
      {"blank before it", point({{4, " 40001"}}, 10), csv_illegal_reference, illegal, list},
      // clang-format on
  };
  for (const auto& row : cases) {
    EXPECT_EQ(read(before + row.line + point({{3, "1/1"}})), row.result) << row.what;
    EXPECT_EQ(log_, row.log) << row.what;
    EXPECT_EQ(list_text(modUnits), row.list) << row.what;
  }
}

TEST_F(MappingReader, ASecondReadReplacesTheFirst) {
  ASSERT_EQ(read(point() + point({{3, "1/1"}})), csv_read);
  ASSERT_EQ(read(point({{3, "8"}}) + point({{4, "2"}})), csv_read);
  EXPECT_EQ(list_text(modUnits), "5[00002] 8[40001]");
  ASSERT_EQ(read(""), csv_read);
  EXPECT_EQ(modUnits, nullptr);
}

}  // namespace
}  // namespace ruvex
