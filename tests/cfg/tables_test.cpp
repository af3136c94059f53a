#include "ruvex/cfg/tables.h"

#include <gtest/gtest.h>

namespace ruvex {
namespace {

constexpr const chk_row* enumerations[] = {
    chk_sys_type, chk_unit_type,  chk_boot_protocol, chk_hoa_switch, chk_baudrate, chk_protocol,
    chk_parity,   chk_temp_units, chk_endian_mode,   chk_reg_format, chk_reg_fcn,  chk_progmode,
    chk_fcn,      chk_chn_type,   chk_bac_type,      chk_bac_units};

TEST(Tables, EveryEnumerationTranslatesBothWays) {
  for (const chk_row* table : enumerations) {
    EXPECT_EQ(table->value, chk_kind_enum);
    for (const chk_row* row = table + 1; row->value != -1; ++row) {
      EXPECT_STREQ(enum_to_str(table, row->value), row->text);
      EXPECT_EQ(str_to_enum(table, row->text), row->value) << row->text;
    }
  }
}

TEST(Tables, LookUpsAreExact) {
  EXPECT_EQ(enum_to_str(chk_reg_fcn, 7), nullptr);
  EXPECT_EQ(enum_to_str(chk_reg_fcn, 0), nullptr);  // the header's kind is no value
  EXPECT_EQ(enum_to_str(chk_bac_units, -1), nullptr);
  for (const char* text : {"modbus", "MODBUS_TC", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(str_to_enum(chk_unit_type, text), -1);
  }
  EXPECT_EQ(str_to_enum(chk_norange_short, "0"), -1);  // no data rows
}

}  // namespace
}  // namespace ruvex
