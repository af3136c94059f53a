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

TEST_F(MappingReader, NameAndDescriptionAreCutWhereOthersEndTheRead) {
  const std::string newline = "\n", n63(63, 'n');
  const std::string notice = "Line 2: description cut to 63 characters\n";
  const struct {
    changes fields;
    std::string name, description, log = {};
  } cases[] = {
      // clang-format off
      {{},                                       "Zone", "Default channel description"},
      {{{2, n63}, {9, n63}},                     n63,    n63},
      {{{2, n63 + "n"}, {9, n63 + "n"}},         n63,    n63, notice},
      {{{2, n63 + n63}, {9, std::string(800, 'n')}}, n63, n63, notice},
      {{{2, n63 + " 40001"}, {9, "00"}},         n63,    "00"},
      {{{2, " "}, {9, " "}},                     "",     ""},
      {{{9, "0 "}},                              "Zone", "Default channel description"},
      {{{9, " 0"}},                              "Zone", " 0"},
      // clang-format on
  };
  for (const auto& row : cases) {
    ASSERT_EQ(read(newline + point(row.fields)), csv_read);
    EXPECT_EQ(log_, row.log);
    EXPECT_EQ(modUnits->chn_list->name, row.name);
    EXPECT_EQ(modUnits->chn_list->bac_desc, row.description);
  }
}

TEST_F(MappingReader, SettingsOf31CharactersFitAndLongerOnesEndTheRead) {
  const struct {
    std::size_t field;
    setting member;                       // null for a unit's
    std::string before = {}, after = {};  // the text is the digit 1 between them
    std::size_t widest = 31;
  } cases[] = {
      // clang-format off
      {1,  &chn_cfg::bac_cov_inc},  {3,  nullptr},                {3,  nullptr, "7/", "", 33},
      {3, nullptr, "", "/7", 33}, {4, &chn_cfg::reg_num, "4"}, {4, &chn_cfg::reg_num, "X4", "", 32},
      {6,  &chn_cfg::bac_type},     {7,  &chn_cfg::instance},     {8,  &chn_cfg::bac_units},
      {11, &chn_cfg::scl_dev_lo},   {12, &chn_cfg::scl_dev_hi},   {13, &chn_cfg::scl_usr_lo},
      {14, &chn_cfg::scl_usr_hi},   {15, &chn_cfg::reg_group_en}, {16, &chn_cfg::reg_restart},
      // clang-format on
  };
  for (const auto& row : cases) {
    const auto line = [&row](std::size_t length) {
      const std::string ones(length - row.before.size() - row.after.size(), '1');
      return point({{3, "6"}, {row.field, row.before + ones + row.after}});
    };
    const std::string what = std::string("field ").append(std::to_string(row.field));
    ASSERT_EQ(read(line(row.widest)), csv_read) << what << log_;
    EXPECT_TRUE(!row.member || (modUnits->chn_list->*row.member).view().size() == 31) << what;
    EXPECT_EQ(read(point() + line(row.widest + 1) + point()), csv_field_too_long) << what;
    EXPECT_EQ(log_, "Line 2: " + what + " is longer than 31 characters, exiting.");
    const char* unit_6 = row.field <= 3 ? "" : row.field < 10 ? " 6[]" : " 6[40001]";
    EXPECT_EQ(list_text(modUnits), std::string("5[40001]") + unit_6) << what;
  }
  const std::string wide(300, '1');
  for (const changes& fields : {changes{{0, wide}, {5, wide}, {10, wide}},
                                {{16, "0," + wide}},
                                {{5, "Bit16"}, {15, wide}}}) {
    EXPECT_EQ(read(point(fields)), csv_read) << log_;
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

TEST_F(MappingReader, AFileThatCannotBeOpened) {
  const temporary_file place;
  ::unlink(place.path().c_str());
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  place.path().copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ::close(socket);
  const std::pair<std::string, int> cases[] = {
      {"", csv_not_examined},
      {place.path() + "_missing", csv_not_examined},
      {file_.path() + "/below_a_file", csv_not_examined},
      {testing::TempDir(), csv_not_opened},
      {place.path(), csv_not_opened},  // a socket
  };
  for (const auto& [path, result] : cases) {
    EXPECT_EQ(read_path(path), result) << path;
    EXPECT_EQ(log_, "Unable to open csv file, exiting.") << path;
    EXPECT_EQ(modUnits, nullptr);
  }
  EXPECT_EQ(read_path("/proc/self/mem"), csv_read) << "a read error is the end";
}

TEST_F(MappingReader, AUnitHolds32767Channels) {
  std::string content;
  for (int line = 32767; line > 0; --line) {
    content.append("0,1,N,5,").append(std::to_string(400000 + line)) += ",T,T,1,U,0,0\n";
  }
  ASSERT_EQ(read(content + point({}, 10) + point({{3, "6"}})), csv_read);
  const std::string list = list_text(modUnits);
  EXPECT_THAT(list, testing::StartsWith("5[400001 400002 "));
  EXPECT_THAT(list, testing::EndsWith(" 432766 432767] 6[40001]"));
  EXPECT_EQ(list.find('!'), list.npos);
  ASSERT_EQ(read(content + point({{3, "6"}}) + point()), csv_too_many_channels);
  EXPECT_EQ(log_, "Line 32769: more than 32767 channels in one unit, exiting.");
  EXPECT_TRUE(list_text(modUnits) == list);
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
