#include "converter/mapping_rules.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cfg/tables.h"
#include "gtest/gtest.h"

namespace ruvex {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

using cells = std::vector<std::pair<std::size_t, std::string>>;  // columns and texts

cells split(std::string_view line) {
  const mapping_line split = split_mapping_line(line);
  cells found;
  for (std::size_t field = 0; field < max_mapping_fields; ++field) {
    const std::string_view text = split.fields[field];
    if (field < split.count) found.emplace_back(text.data() - line.data(), text);
    EXPECT_TRUE(field < split.count || text.empty()) << "field " << field;
  }
  return found;
}

// The same rules over std::string, which cannot overrun.
cells split_plainly(const std::string& line) {
  constexpr const char* separators = ",\"\r\n";
  cells found;
  std::size_t at = 0;
  while (found.size() < 17 && (at = line.find_first_not_of(separators, at)) != line.npos) {
    const std::size_t end = std::min(line.find_first_of(separators, at), line.size());
    std::string text = line.substr(at, end - at);
    if (!found.empty()) text.erase(text.find_last_not_of(' ') + 1);
    found.emplace_back(at, text);
    at = end;
  }
  return found;
}

TEST(SplitMappingLine, FieldsStandBetweenRunsOfSeparators) {
  const std::pair<std::string_view, cells> cases[] = {
      {"", {}},
      {"\n", {}},
      {",\"\r\n\"\",,\n\r", {}},
      {"a", {{0, "a"}}},
      {"a,b\r\n", {{0, "a"}, {2, "b"}}},
      {"1,2,,4\n", {{0, "1"}, {2, "2"}, {5, "4"}}},
      {",,a\"\"b,\n", {{2, "a"}, {5, "b"}}},
      {"\"a,b\",c", {{1, "a"}, {3, "b"}, {6, "c"}}},
      {"a\rb\nc", {{0, "a"}, {2, "b"}, {4, "c"}}},
      {"a;b\tc'd,e", {{0, "a;b\tc'd"}, {8, "e"}}},
      {"  a  ,  b  ,c \n", {{0, "  a  "}, {6, "  b"}, {12, "c"}}},
      {"   ,   ,b", {{0, "   "}, {4, ""}, {8, "b"}}},
      {"a,b \t,  ", {{0, "a"}, {2, "b \t"}, {6, ""}}},
      {"a\0b,\0,c\0 \n"sv, {{0, "a\0b"s}, {4, "\0"s}, {6, "c\0"s}}},
      {"\xac\xa2,\x8d\x8a \xff,\x80", {{0, "\xac\xa2"}, {3, "\x8d\x8a \xff"}, {8, "\x80"}}},
  };
  for (const auto& [line, fields] : cases) {
    EXPECT_EQ(split(line), fields) << testing::PrintToString(line);
  }
}

TEST(SplitMappingLine, FieldsBeyondTheSeventeenthAreLeftOut) {
  for (std::size_t count = 15; count <= 20; ++count) {
    std::string line;
    cells fields;
    for (std::size_t field = 0; field < count; ++field) {
      if (field < 17) fields.emplace_back(line.size(), std::to_string(field));
      line += std::to_string(field) + ",\"";
    }
    EXPECT_EQ(split(line), fields) << count;
    line.resize(line.size() - 2);
    EXPECT_EQ(split(line), fields) << count << ", no separator at the end";
  }
}

TEST(SplitMappingLine, AgreesWithThePlainSplitterAndStaysInsideTheLine) {
  constexpr std::string_view alphabet = ",,,\"\r\n  ab\0\xac"sv;
  std::mt19937 random(20240501);
  for (int round = 0; round < 20000; ++round) {
    std::string line(random() % 60, ' ');
    for (char& character : line) character = alphabet[random() % alphabet.size()];
    const auto block = std::make_unique<char[]>(line.size());  // what is beyond it is poisoned
    std::copy(line.begin(), line.end(), block.get());
    ASSERT_EQ(split({block.get(), line.size()}), split_plainly(line))
        << testing::PrintToString(line);
  }
}

TEST(PointName, LosesAReferenceOrAnIndexWhenItIsLong) {
  const struct {
    std::size_t length;
    std::string_view tail;  // what stands before it is "N"
    std::size_t kept;
    std::string_view kept_tail = {};
  } cases[] = {
      // clang-format off
      {0, "", 0},                  {57, " 40001", 57, " 40001"}, {57, "m12", 57, "m12"},
      {58, " 40001", 52},          {58, "40001", 53},            {58, "  40001", 51},
      {58, " \t40001", 53, " \t"}, {58, " 140001", 53, " 1"},    {58, "m12345", 53, "m"},
      {58, "-1234", 58, "-1234"},  {58, "m1234", 58, "m1234"},   {58, "m123", 54},
      {58, "m12", 55},             {60, "m", 59},                {60, "  m7", 56},
      {60, "mm7", 58, "m"},        {60, "M12", 60, "M12"},       {60, "m 12", 60, "m 12"},
      {60, "12m3x", 60, "12m3x"},  {64, "-1234", 63, "-123"},    {66, "m123", 62},
      {68, "40001", 63},           {69, "X40001", 63},           {500, "m1", 63},
      // clang-format on
  };
  const auto padded = [](std::size_t length, std::string_view tail) {
    return std::string(length - tail.size(), 'N').append(tail);
  };
  for (const auto& row : cases) {
    const std::string field = padded(row.length, row.tail);
    const std::string_view name = point_name(field);
    EXPECT_EQ(name, padded(row.kept, row.kept_tail)) << row.length << " " << row.tail;
    EXPECT_EQ(name.data(), field.data());
  }
  EXPECT_EQ(point_name(std::string(60, ' ') + "40001"), "");
  EXPECT_EQ(point_name(std::string(80, '7')), std::string(63, '7'));
}

TEST(ParseUnit, IsSplitAtTheFirstSlash) {
  const struct {
    std::string_view field, ip_address, address;
    bool has_slash;
  } cases[] = {
      // clang-format off
      {"", "", "", false},         {"5", "", "5", false},
      {" 5", "", " 5", false},     {"10.0.0.5/3", "10.0.0.5", "3", true},
      {"/5", "", "5", true},       {"1.2/", "1.2", "", true},
      {"/", "", "", true},         {"a/b/c", "a", "b/c", true},
      {"a\\5", "", "a\\5", false},
      // clang-format on
  };
  for (const auto& row : cases) {
    const unit_text unit = parse_unit(row.field);
    EXPECT_EQ(unit.ip_address, row.ip_address) << row.field;
    EXPECT_EQ(unit.address, row.address) << row.field;
    EXPECT_EQ(unit.has_slash, row.has_slash) << row.field;
  }
}

TEST(ModbusReference, ShortNumbersBecomeCoils) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      // clang-format off
      {"1", "00001"},           {"0001", "00001"},    {"", "00000"},
      {"none", "00000"},        {"9999", "09999"},    {"10000", "10000"},
      {"010000", "010000"},     {"+10000", "+10000"}, {" 40001", " 40001"},
      {"40001abc", "40001abc"}, {"12.5", "00012"},    {" \t\n\v\f\r+7x", "00007"},
      {"+ 7", "00000"},         {"-+7", "00000"},     {"0x9", "00000"},
      {"-1", "99999"},          {"-800000", "00000"}, {"-899990", "0"},
      {"-900000", ""},          {"-900001", "1"},     {"-1900000", "1000000"},
      {"X", ""},                {"X00001", "00001"},  {"X40001", "40001"},
      {"X5", "5"},              {"XX7", "X7"},        {"X 40001", " 40001"},
      {"x40001", "00000"},      {" X40001", "00000"},
      // Beyond 64 bits; among them 2^64 + 1 and -2^65.
      {"99999999999999999999", "99999999999999999999"},
      {"18446744073709551617", "18446744073709551617"},
      {"9223372036854775808", "9223372036854775808"},
      {"-9223372036854775808", "9223372036853875808"},
      {"-36893488147419103232", "9223372036853875808"},
      // clang-format on
  };
  for (const auto& [field, reference] : cases) {
    EXPECT_EQ(modbus_reference(field).view(), reference) << "'" << field << "'";
  }
}

TEST(RegisterClass, FollowsFromTheFirstCharacter) {
  constexpr std::string_view known = "0134";
  for (int code = 0; code < 256; ++code) {
    const std::string reference = static_cast<char>(code) + "0001"s;
    const std::size_t place = known.find(reference.front());
    const int expected = place == known.npos ? -1 : static_cast<int>(place);
    EXPECT_EQ(modbus_reg_type(reference.c_str()), expected) << code;
    EXPECT_EQ(static_cast<int>(classify_reference(reference)), expected) << code;
  }
  EXPECT_EQ(modbus_reg_type(""), -1);
  EXPECT_EQ(modbus_reg_type("4"), 3);
  EXPECT_EQ(classify_reference({}), register_class::illegal);
}

TEST(DataType, IsFoundByItsExactText) {
  const struct {
    std::string_view data_type;
    bool is_bit;
    std::string_view settings = {};  // none for a type that the table lacks
  } cases[] = {
      // clang-format off
      {"Floating Point HI/LO",          false, "2 BIG FLOAT"},
      {"Floating Point LO/HI",          false, "2 LITTLE FLOAT"},
      {"32 Bit Unsigned Integer HI/LO", false, "2 BIG UNSIGNED"},
      {"32 Bit Unsigned Integer LO/HI", false, "2 LITTLE UNSIGNED"},
      {"32 Bit Signed Integer HI/LO",   false, "2 BIG SIGNED"},
      {"32 Bit Signed Integer LO/HI",   false, "2 LITTLE SIGNED"},
      {"16 Bit Unsigned Integer",       false, "1 BIG UNSIGNED"},
      {"16 Bit Signed Integer",         false, "1 BIG SIGNED"},
      {"Bit16",                         true,  "1 BIG UNSIGNED"},
      {"Bit32 HI/LO",                   true,  "2 BIG UNSIGNED"},
      {"Bit32 LO/HI",                   true,  "2 LITTLE UNSIGNED"},
      {"Bit32", true},     {"my Bit16", true},   {"Bit16 ", true},     {"BitBit32", true},
      {"bit16", false},    {"Bit1", false},      {"Bit 16", false},    {"Bit31Bit6", false},
      {"floating point hi/lo", false},           {"Floating Point HI/LO ", false},
      {"16 Bit Signed", false},                  {"0", false},
      {"", false},        {{}, false},
      // clang-format on
  };
  for (const auto& row : cases) {
    EXPECT_EQ(is_bit_type(row.data_type), row.is_bit) << row.data_type;
    std::string settings;
    if (const modbus_type_row* type = find_data_type(row.data_type)) {
      settings =
          type->reg_size.c_str() + " "s + type->reg_endian.c_str() + " " + type->reg_format.c_str();
    }
    EXPECT_EQ(settings, row.settings) << row.data_type;
  }
}

TEST(BitMask, TheLowEightBitsOfTheNumberCount) {
  constexpr std::int32_t sign = -2147483647 - 1;
  const std::pair<std::string_view, std::int32_t> cases[] = {
      // clang-format off
      {"0", 1},                     {"3", 8},       {"+4", 16},        {" 15", 32768},
      {"30", 1 << 30},              {"31", sign},   {"32", 0},         {"40", 0},
      {"255", 0},                   {"256", 1},     {"287", sign},     {"288", 0},
      {"-1", 0},                    {"-225", sign}, {"-256", 1},       {"", 1},
      {"bit 3", 1},                 {"3.9", 8},     {"4294967299", 8}, {"18446744073709551617", 0},
      {"-99999999999999999999", 1},
      // clang-format on
  };
  for (const auto& [field, mask] : cases) EXPECT_EQ(bit_mask(field), mask) << field;
}

TEST(DerivedSettings, FollowFromTheRegisterClass) {
  using enum register_class;
  const struct {
    register_class reg_class;
    std::string_view bac_type, chn_type, reg_size;
    std::int32_t function;
  } cases[] = {
      // clang-format off
      {coil,             "BINARY_INPUT",  "INPUT_MCD_BIN",   "1",  5},
      {coil,             "BINARY_OUTPUT", "OUTPUT_MCD_BIN",  "2",  5},
      {coil,             "binary_input",  "OUTPUT_MCD_BIN",  "",   5},
      {discrete_input,   "BINARY_INPUT",  "INPUT_MCD_BIN",   "1",  6},
      {discrete_input,   "ANALOG_OUTPUT", "INPUT_MCD_BIN",   "2",  16},
      {input_register,   "ANALOG_INPUT",  "INPUT_MCD_IREG",  "1",  6},
      {input_register,   "ANALOG_OUTPUT", "INPUT_MCD_IREG",  "2",  16},
      {holding_register, "ANALOG_INPUT",  "INPUT_MCD_HREG",  "1",  6},
      {holding_register, "ANALOG_VALUE",  "OUTPUT_MCD_HREG", "2",  16},
      {holding_register, "ANALOG_INPUTS", "OUTPUT_MCD_HREG", "02", 6},
      {holding_register, "",              "OUTPUT_MCD_HREG", "",   6},
      // clang-format on
  };
  for (const auto& row : cases) {
    const char* type = enum_to_str(chk_chn_type, channel_type(row.reg_class, row.bac_type));
    EXPECT_STREQ(type, row.chn_type.data()) << row.bac_type;
    EXPECT_EQ(write_function(row.reg_class, row.reg_size), row.function) << row.bac_type;
  }
  EXPECT_EQ(channel_type(illegal, "ANALOG_INPUT"), -1);
}

}  // namespace
}  // namespace ruvex
