#include "cfg/tables.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cfg/records.h"
#include "cfg/tags.h"

namespace ruvex {
namespace {

constexpr const chk_row* enumerations[] = {
    chk_sys_type, chk_unit_type,  chk_boot_protocol, chk_hoa_switch, chk_baudrate, chk_protocol,
    chk_parity,   chk_temp_units, chk_endian_mode,   chk_reg_format, chk_reg_fcn,  chk_progmode,
    chk_fcn,      chk_chn_type,   chk_bac_type,      chk_bac_units};

TEST(Tables, EveryEnumerationTranslatesBothWays) {
  for (const chk_row* table : enumerations) {
    EXPECT_EQ(table->value, chk_kind_enum);
    EXPECT_EQ(table->text, nullptr);
    for (const chk_row* row = table + 1; row->value != -1; ++row) {
      EXPECT_STREQ(enum_to_str(table, row->value), row->text);
      EXPECT_EQ(str_to_enum(table, row->text), row->value) << row->text;
    }
  }
}

TEST(Tables, LookUpsAreExact) {
  EXPECT_EQ(enum_to_str(chk_reg_fcn, 7), nullptr);
  EXPECT_EQ(enum_to_str(chk_reg_fcn, 0), nullptr);  // the header's kind is no value
  EXPECT_STREQ(enum_to_str(chk_reg_fcn, 15), "15");
  EXPECT_STREQ(enum_to_str(chk_bac_units, 95), "NO_UNITS");
  EXPECT_EQ(enum_to_str(chk_bac_units, 105), nullptr);
  EXPECT_EQ(enum_to_str(chk_bac_units, -1), nullptr);
  EXPECT_EQ(str_to_enum(chk_unit_type, "MODBUS_TCP"), 3);
  EXPECT_EQ(str_to_enum(chk_unit_type, "modbus"), -1);
  EXPECT_EQ(str_to_enum(chk_unit_type, "MODBUS_TC"), -1);
  EXPECT_EQ(str_to_enum(chk_unit_type, ""), -1);
  EXPECT_EQ(str_to_enum(chk_unit_type, nullptr), -1);
  EXPECT_EQ(str_to_enum(chk_temp_units, "CELSIUS"), -1);
  EXPECT_EQ(str_to_enum(chk_norange_short, "0"), -1);  // no data rows
}

TEST(Tables, BoundsHaveTheirKindInEveryRow) {
  const struct {
    const chk_row* table;
    std::int32_t kind;
    const char* lower;
    const char* upper;
  } cases[] = {
      {chk_binary, 2, "0", "1"},
      {chk_bac_ttl, 3, "0", "65535"},
      {chk_pulse_period_dev, 3, "0", "2147483647"},
      {chk_pulse_period_usr, 1, "0", "2147483"},
      {chk_temp_offset_dev, 2, "-100", "100"},
      {chk_temp_offset_usr, 1, "-10", "10"},
      {chk_range_pshort, 2, "0", "32767"},
      {chk_range_volts, 1, "0", "10"},
      {chk_range_mv, 2, "0", "10000"},
      {chk_range_ma, 1, "0", "20"},
      {chk_range_ma_100, 2, "0", "2000"},
      {chk_node_address, 2, "1", "247"},
      {chk_inp_filter, 2, "0", "12"},
      {chk_reg_num, 2, "1", "2"},
      {chk_bac_instance, 3, "0", "4194302"},
      {chk_bac_cov_inc, 1, "0", "16777215"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(row.table[0].value, row.kind);
    EXPECT_EQ(row.table[1].value, row.kind);
    EXPECT_EQ(row.table[2].value, row.kind);
    EXPECT_STREQ(row.table[1].text, row.lower);
    EXPECT_STREQ(row.table[2].text, row.upper);
    EXPECT_EQ(row.table[3].value, -1);
  }
  EXPECT_EQ(chk_name_len[1].value, 64);
  EXPECT_EQ(chk_param_len[1].value, 32);
  EXPECT_EQ(chk_ip_address[1].value, chk_kind_ip);
  EXPECT_EQ(chk_norange_float[1].value, -1);
}

TEST(Records, PositionsCountFromTheHead) {
  chn_cfg channels[3] = {};
  channels[0].next = &channels[1];
  channels[1].next = &channels[2];
  unit_cfg unit = {};
  unit.chn_list = channels;
  unit.chn_count = 3;
  yax_cfg doc = {};
  for (const auto& [index, wanted] : std::vector<std::pair<std::int32_t, chn_cfg*>>{
           {-1, channels}, {0, channels}, {1, channels + 1}, {2, channels + 2}, {3, nullptr}}) {
    EXPECT_EQ(get_chn_ptr(&unit, index), wanted) << index;
  }
  EXPECT_EQ(get_unit_ptr(&doc, 0), nullptr);
  doc.unit_list = &unit;
  doc.unit_count = 1;
  EXPECT_EQ(get_unit_ptr(&doc, -7), &unit);
  EXPECT_EQ(get_unit_ptr(&doc, 1), nullptr);
}

TEST(Tags, AreFoundByTextAndNothingElseIs) {
  for (std::size_t id = 0; id < tag_count; ++id) {
    const std::string name = tag_str[id].text;
    EXPECT_EQ(find_tag(name), static_cast<std::int32_t>(id));
    EXPECT_EQ(find_tag(name + "x"), -1);
    if (name != "ip_address") {
      EXPECT_NE(find_tag(name.substr(0, name.size() - 1)), static_cast<std::int32_t>(id));
    }
  }
  EXPECT_EQ(tag_idx_sort({1, nullptr}, {2, nullptr}), -1);
  EXPECT_EQ(tag_idx_sort({2, nullptr}, {-1, nullptr}), 1);
  EXPECT_EQ(tag_idx_sort({5, nullptr}, {5, nullptr}), 0);
  EXPECT_LT(tag_str_sort({0, "dns1"}, {0, "dns2"}), 0);
  EXPECT_GT(tag_str_find("dns2", {0, "dns1"}), 0);
}

}  // namespace
}  // namespace ruvex
