#include "ruvex/mapping/rules.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "field_rules.h"
#include "gtest/gtest.h"
#include "ruvex/mapping/point_reader.h"
#include "ruvex/mapping/register_place.h"

namespace ruvex {
namespace {

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

TEST(SplitMappingLine, AgreesWithThePlainSplitterAndStaysInsideTheLine) {
  constexpr char alphabet[] = ",,,\"\r\n  ab\xac";  // and its NUL
  std::mt19937 random(20240501);
  for (int round = 0; round < 20000; ++round) {
    std::string line(random() % 120, ' ');
    for (char& character : line) character = alphabet[random() % sizeof alphabet];
    const auto block = std::make_unique<char[]>(line.size());  // what is beyond it is poisoned
    std::copy(line.begin(), line.end(), block.get());
    ASSERT_EQ(split({block.get(), line.size()}), split_plainly(line))
        << testing::PrintToString(line);
  }
}

// Most of these are refused later, for their first character.
TEST(ModbusReference, ShortNumbersBecomeCoils) {
  const std::pair<std::string_view, std::string_view> cases[] = {
      // clang-format off
      {"", "00000"},            {"12.5", "00012"},    {" \t\n\v\f\r+7x", "00007"},
      {"+10000", "+10000"},     {" 40001", " 40001"}, {"-+7", "00000"},
      {"-1", "99999"},          {"-800000", "00000"}, {"-899990", "0"},
      {"-900000", ""},          {"-900001", "1"},     {"-1900000", "1000000"},
      {"X", ""},                {"XX7", "X7"},        {"X 40001", " 40001"},
      // Beyond 64 bits; among them 2^64 + 1 and -2^65.
      {"18446744073709551617", "18446744073709551617"},
      {"-9223372036854775808", "9223372036853875808"},
      {"-36893488147419103232", "9223372036853875808"},
      // clang-format on
  };
  for (const auto& [field, reference] : cases) {
    EXPECT_EQ(modbus_reference(field).view(), reference) << "'" << field << "'";
  }
}

TEST(RegisterClass, FollowsFromTheFirstCharacter) {
  for (int code = 0; code < 256; ++code) {
    const std::size_t place = std::string_view("0134").find(static_cast<char>(code));
    const char reference[] = {static_cast<char>(code), '1', '\0'};
    EXPECT_EQ(modbus_reg_type(reference), static_cast<int>(place)) << code;  // npos is -1
  }
}

TEST(RegisterPlace, IsCountedFromTheFirstRegisterOfItsTable) {
  struct {
    std::string_view reference;
    std::string_view table;
    int offset;
  } const cases[] = {
      // clang-format off
      {"00001", "coil", 0},             {"10002", "discrete input", 1},
      {"30010", "input register", 9},   {"49999", "holding register", 9998},
      {"400001", "holding register", 0}, {"465536", "holding register", 65535},
      {"40000", "holding register", -1}, {"400000", "holding register", -1},
      {"465537", "holding register", -1}, {"499999", "holding register", -1},
      {"4001", "holding register", -1}, {"4000001", "holding register", -1},
      {"4 001", "holding register", -1}, {"4-001", "holding register", -1},
      {"4000x", "holding register", -1}, {"4", "holding register", -1},
      {"20001", "", -1}, {"50001", "", -1}, {"x0001", "", -1}, {"", "", -1},
      // clang-format on
  };
  for (const auto& [reference, table, offset] : cases) {
    const register_place place = place_of(reference);
    EXPECT_EQ(table_name(place.table), table) << reference;
    EXPECT_EQ(place.offset, offset) << reference;
  }
}

TEST(Columns, DefaultTextsAreThoseOfTheDefaults) {
  const chn_cfg defaults = csv_defaults();
  for (const mapping_column& column : mapping_columns) {
    if (column.rule != column_rule::copied) continue;
    EXPECT_EQ(column.default_text, (defaults.*column.setting).view()) << column.name;
  }
  EXPECT_EQ(mapping_columns[field_name].default_text, defaults.name.view());
  const modbus_type_row* row = find_data_type(mapping_columns[field_data_type].default_text);
  EXPECT_TRUE(row != nullptr && row->reg_size == defaults.reg_size &&
              row->reg_endian == defaults.reg_endian && row->reg_format == defaults.reg_format);
}

TEST(Texts, AreMatchedAsAWhole) {
  for (const char* data_type : {"a Bit16", "Bit16 ", "16 Bit Signed", "floating point hi/lo", ""}) {
    EXPECT_EQ(find_data_type(data_type), nullptr) << data_type;
  }
  EXPECT_EQ(channel_type(register_class::holding_register, "ANALOG_INPUTS"),
            chn_type::output_mcd_hreg);
}

}  // namespace
}  // namespace ruvex
