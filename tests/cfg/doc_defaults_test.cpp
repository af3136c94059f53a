#include "cfg/doc_defaults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cfg/defaults.h"
#include "cfg/document_text.h"

namespace ruvex {
namespace {

constexpr const char* default_settings =
    "name='Default Configuration Name' instance='2749' cfg_version='3.0' boot_protocol='NONE' "
    "ip_addr='192.168.92.68' netmask='255.255.255.0' gateway='192.168.92.1' dns1='0.0.0.0' "
    "dns2='0.0.0.0' timezone='-6' ntp_enable='0' ntp_server='pool.ntp.org' ntp_refresh='1' "
    "dst_enable='0' dst_on_mon='2' dst_on_dom='SUN2' dst_on_hr='2' dst_off_mon='10' "
    "dst_off_dom='SUN1' dst_off_hr='2' ofl_poll_delay='15000' yax_poll_delay='500' "
    "mcd_poll_delay='2000' sys_read_delay='10' sys_read_max='24' baudrate='19200' protocol='RTU' "
    "parity='EVEN' timeout='1000' ifgap='0' bac_udp_port='47808' bac_bbmd_ip='0.0.0.0' "
    "bac_ttl='100'";

struct channel_texts {
  const char *name, *instance, *types, *desc, *high, *levels, *reg_num, *registers, *limit_hi;
};

std::string full_text(const channel_texts& chn) {
  const std::string high = chn.high;
  return std::string("[name='") + chn.name + "' instance='" + chn.instance + "' " + chn.types +
         " bac_cov_inc='0' bac_desc='" + chn.desc + "' scl_dev_lo='0' scl_dev_hi='" + high +
         "' scl_usr_lo='0' scl_usr_hi='" + high + "' inp_filter='0' " + chn.levels +
         " pulse_period='1' temp_offset='0' temp_units='FAHRENHEIT' reg_group_en='0' reg_mask='0' "
         "reg_restart='0' reg_num='" +
         chn.reg_num + "' " + chn.registers +
         " initial_val='OFF' alarm_lo='OFF' alarm_hi='OFF' hoa_switch='AUTO' override_val='0' "
         "limit_lo='0' limit_hi='" +
         chn.limit_hi + "' persistent='0']";
}

TEST(MakeDefaultYaxCfg, GivesTheFactoryDocument) {
  constexpr const char* name = "Default Channel Name";
  constexpr const char* desc = "Default channel description";
  constexpr const char* input = "chn_type='INPUT_10A' bac_type='ANALOG_INPUT' bac_units='VOLTS'";
  constexpr const char* relay =
      "chn_type='OUTPUT_RLY' bac_type='BINARY_OUTPUT' bac_units='NO_UNITS'";
  constexpr const char* point =
      "chn_type='INPUT_MCD_HREG' bac_type='ANALOG_INPUT' bac_units='NO_UNITS'";
  constexpr const char* bit =
      "chn_type='INPUT_MCD_BIN' bac_type='BINARY_INPUT' bac_units='NO_UNITS'";
  constexpr const char* middle = "inp_level_lo='2.5' inp_level_hi='7.5'";
  constexpr const char* on_off = "inp_level_lo='0' inp_level_hi='1'";
  constexpr const char* card =
      "reg_size='2' reg_endian='LITTLE' reg_format='UNSIGNED' reg_fcn='16'";
  constexpr const char* pair = "reg_size='2' reg_endian='BIG' reg_format='UNSIGNED' reg_fcn='16'";
  constexpr const char* single = "reg_size='1' reg_endian='BIG' reg_format='UNSIGNED' reg_fcn='6'";
  const struct {
    const char* attributes;
    std::vector<channel_texts> channels;
  } units[] = {
      // clang-format off
      {"name='Default YAX Unit' type='YAX_TYPE1' address='1' poll_delay='0'",
       {{name, "1", input, desc, "10", middle, "40101", card, "10"},
        {name, "2", input, desc, "10", middle, "40103", card, "10"},
        {name, "3", input, desc, "10", middle, "40105", card, "10"},
        {name, "4", input, desc, "10", middle, "40107", card, "10"},
        {name, "5", input, desc, "10", middle, "40109", card, "10"},
        {name, "6", input, desc, "10", middle, "40111", card, "10"},
        {name, "7", relay, desc, "1", on_off, "40113", card, "1"},
        {name, "8", relay, desc, "1", on_off, "40115", card, "1"}}},
      {"name='User Virtual Points' type='VIRTUAL' address='8' poll_delay='0'",
       {{"Default Virtual Point", "840001", point, desc, "1", on_off, "40001", pair, "65535"}}},
      {"name='System Virtual Points' type='VIRTUAL' address='9' poll_delay='0'",
       {{"Time Set", "910001", bit, "Time Set", "1", on_off, "10001", single, "1"}}},
      // clang-format on
  };
  std::string expected = default_settings;
  for (const auto& unit : units) {
    expected.append("{").append(unit.attributes);
    for (const channel_texts& chn : unit.channels) expected += full_text(chn);
    expected += '}';
  }
  const yax_cfg_ptr doc(make_default_yax_cfg());
  ASSERT_NE(doc, nullptr);
  EXPECT_EQ(document_text(*doc), expected);
}

TEST(InitYaxCfg, TouchesNeitherTheUnitsNorWhatHasNoDefault) {
  unit_cfg unit = {};
  yax_cfg doc = {};
  doc.unit_count = 1;
  doc.unit_list = &unit;
  init_yax_cfg(&doc);
  EXPECT_EQ(document_text(doc), std::string(default_settings) + "{}");
  ASSERT_TRUE(doc.bac_rpm.assign("kept") && doc.gateway.assign("replaced"));
  init_yax_cfg(&doc);
  EXPECT_EQ(document_text(doc), std::string(default_settings) + " bac_rpm='kept'{}");
}

TEST(ChnName, NamesTheSystemPoints) {
  const char* const names[] = {"Reset status",         "External reset total",
                               "Brownout reset total", "Watchdog reset total",
                               "JTAG reset total",     "Unknown reset total"};
  ASSERT_EQ(std::size(chn_name), std::size(names));
  for (std::size_t at = 0; at < std::size(names); ++at) EXPECT_STREQ(chn_name[at], names[at]);
}

// The addresses, each with the instances of its unit's channels.
std::string numbers_text(const yax_cfg& doc) {
  std::string text;
  add_list(text, doc.unit_list, doc.unit_count, [&text](const unit_cfg& unit) {
    text.append(text.empty() ? "" : " ").append(unit.address.view()).append(":");
    add_list(text, unit.chn_list, unit.chn_count,
             [&text](const chn_cfg& chn) { text.append(chn.instance.view()) += ','; });
  });
  return text;
}

struct given_unit {
  const char* address;
  std::vector<const char*> instances;
};

yax_cfg_ptr document_of(const std::vector<given_unit>& units) {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  for (const given_unit& given : units) {
    unit_cfg* unit = add_unit_cfg(doc.get(), std::max(doc->unit_count - 1, 0), 0);
    EXPECT_TRUE(unit->address.assign("0"));
    for (const char* instance : given.instances) {
      chn_cfg* chn = add_chn_cfg(unit, std::max(unit->chn_count - 1, 0), 0, 12, 0);
      EXPECT_TRUE(chn->instance.assign(instance));
    }
  }
  unit_cfg* unit = doc->unit_list;
  for (const given_unit& given : units) {
    EXPECT_TRUE(unit->address.assign(given.address));
    unit = unit->next;
  }
  return doc;
}

TEST(AddUnitCfg, NumbersOnAndLinksAfterThePositionOrRefuses) {
  constexpr int modbus = 0, type1 = 1, virtual_ = 2;
  const struct {
    std::vector<given_unit> units;
    int pos, type;
    const char* after;  // null: it is refused
  } cases[] = {
      {{}, 0, modbus, "1:"},
      {{}, 0, virtual_, "1:"},
      {{}, 0, type1, "1:1,2,3,4,5,6,7,8,"},
      {{{"1", {}}, {"8", {}}, {"9", {}}}, 2, modbus, "1: 8: 9: 10:"},
      {{{"1", {}}, {"8", {}}, {"9", {}}}, 1, virtual_, "1: 8: 10: 9:"},
      {{{"9", {}}, {"8", {}}, {"1", {}}}, 0, modbus, "9: 10: 8: 1:"},
      {{{"1", {}}, {"2", {}}}, -3, modbus, "1: 3: 2:"},
      // Positions that the list does not have.
      {{}, 1, modbus, nullptr},
      {{}, -1, modbus, nullptr},
      {{{"1", {}}}, 1, type1, nullptr},
      {{{"1", {}}, {"2", {}}}, 2, virtual_, nullptr},
      // Types that are not made here.
      {{}, 0, 3, nullptr},
      {{}, 0, 4, nullptr},
      {{}, 0, -1, nullptr},
      {{{"1", {}}}, 0, 3, nullptr},
      // Addresses.
      {{{"246", {}}}, 0, modbus, "246: 247:"},
      {{{"247", {}}, {"3", {}}}, 0, modbus, nullptr},
      {{{"99999999999999999999999", {}}}, 0, modbus, nullptr},
      {{{"9223372036854775807", {}}}, 0, modbus, nullptr},
      {{{"4294967296", {}}}, 0, modbus, nullptr},
      {{{"", {}}}, 0, modbus, ": 1:"},
      {{{"junk7", {}}, {"-5", {}}}, 0, modbus, "junk7: 1: -5:"},
      {{{" +12b99", {}}, {"0x30", {}}}, 1, modbus, " +12b99: 0x30: 13:"},
      // Instances; the largest of any unit counts.
      // clang-format off
      {{{"1", {"910001", "6"}}, {"2", {"12"}}}, 1, type1, "1:910001,6, 2:12, 3:910002,910003,910004,910005,910006,910007,910008,910009,"},
      {{{"1", {"-7", "", "x"}}}, 0, type1, "1:-7,,x, 2:1,2,3,4,5,6,7,8,"},
      {{{"1", {"2147483639"}}}, 0, type1,
       "1:2147483639, 2:2147483640,2147483641,2147483642,2147483643,2147483644,2147483645,2147483646,2147483647,"},
      // clang-format on
      {{{"1", {"2147483640"}}}, 0, type1, nullptr},
      {{{"1", {"9223372036854775807"}}}, 0, type1, nullptr},
      {{{"1", {"9223372036854775807"}}}, 0, virtual_, "1:9223372036854775807, 2:"},
  };
  for (const auto& row : cases) {
    const yax_cfg_ptr doc = document_of(row.units);
    const std::string before = document_text(*doc);
    const std::string numbers = numbers_text(*doc);
    const unit_cfg* unit = add_unit_cfg(doc.get(), row.pos, row.type);
    EXPECT_EQ(unit == nullptr, row.after == nullptr) << numbers;
    EXPECT_EQ(numbers_text(*doc), row.after != nullptr ? row.after : numbers);
    if (unit == nullptr) {
      EXPECT_EQ(document_text(*doc), before);
    }
  }
}

TEST(AddUnitCfg, MakesUnitsOfEachType) {
  const struct {
    int type;
    const char* text;
  } cases[] = {{0, "{name='Default Modbus Unit' type='MODBUS' address='1' poll_delay='0'}"},
               {2, "{name='Default Virtual Unit' type='VIRTUAL' address='1' poll_delay='0'}"}};
  for (const auto& row : cases) {
    const yax_cfg_ptr doc(make_record<yax_cfg>().release());
    ASSERT_NE(add_unit_cfg(doc.get(), 0, row.type), nullptr);
    EXPECT_EQ(document_text(*doc), row.text);
  }
}

TEST(AddUnitCfg, RefusesWhenTheCountIsFull) {
  const yax_cfg_ptr doc = document_of({{"1", {}}});
  doc->unit_count = max_list_count;
  for (const int type : {0, 1, 2}) EXPECT_EQ(add_unit_cfg(doc.get(), 0, type), nullptr);
  EXPECT_EQ(doc->unit_count, max_list_count);
  EXPECT_EQ(doc->unit_list->next, nullptr);
  doc->unit_count = 1;
}

}  // namespace
}  // namespace ruvex
