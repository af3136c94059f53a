#include "ruvex/cfg/defaults.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>

#include "cfg/document_text.h"
#include "ruvex/cfg/doc_defaults.h"

namespace ruvex {
namespace {

// All settings in document order.
std::string settings_of(const chn_cfg& chn) {
  std::string settings;
  for (const auto& row : chn_attributes) settings.append(row.view(chn).view()) += '|';
  for (const auto& row : written_chn_elements) settings.append(row.view(chn).view()) += '|';
  return settings;
}

TEST(InitChnCfg, FillsEverySettingOfTheSevenTypes) {
  constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
  const struct {
    std::int32_t type, index;
    std::string types, high, levels, registers, limit;
  } cases[] = {
      // clang-format off
      {3, 3, "INPUT_10A|ANALOG_INPUT|VOLTS", "10", "2.5|7.5", "40107|2|LITTLE|UNSIGNED|16", "10"},
      {3, largest, "INPUT_10A|ANALOG_INPUT|VOLTS", "10", "2.5|7.5", "4295007395|2|LITTLE|UNSIGNED|16", "10"},
      {19, 0, "OUTPUT_RLY|BINARY_OUTPUT|NO_UNITS", "1", "0|1", "40101|2|LITTLE|UNSIGNED|16", "1"},
      {10, 2, "INPUT_MCD_BIN|BINARY_INPUT|NO_UNITS", "1", "0|1", "10003|1|BIG|UNSIGNED|6", "1"},
      {11, 0, "INPUT_MCD_IREG|ANALOG_INPUT|NO_UNITS", "1", "0|1", "30001|1|BIG|UNSIGNED|6", "65535"},
      {12, 1, "INPUT_MCD_HREG|ANALOG_INPUT|NO_UNITS", "1", "0|1", "40002|1|BIG|UNSIGNED|6", "65535"},
      {20, 0, "OUTPUT_MCD_BIN|BINARY_OUTPUT|NO_UNITS", "1", "0|1", "1|1|BIG|UNSIGNED|5", "1"},
      {21, 4, "OUTPUT_MCD_HREG|ANALOG_OUTPUT|NO_UNITS", "1", "0|1", "40005|1|BIG|UNSIGNED|6", "65535"},
      // clang-format on
  };
  for (const auto& row : cases) {
    chn_cfg chn = {};
    init_chn_cfg(&chn, row.index, row.type, 5);
    EXPECT_EQ(settings_of(chn), "Default Channel Name|5|" + row.types +
                                    "|0|Default channel description|0|" + row.high + "|0|" +
                                    row.high + "|0|" + row.levels + "|1|0|FAHRENHEIT|0|0|0|" +
                                    row.registers + "|OFF|OFF|OFF|AUTO|0|0|" + row.limit + "|0|")
        << "type " << row.type;
  }
}

TEST(InitChnCfg, GivesOtherTypesANameAndAnInstanceAlone) {
  for (const std::int32_t type : {0, 2, 4, 9, 13, 18, 22, -1}) {
    chn_cfg chn = {};
    init_chn_cfg(&chn, 0, type, -1);
    EXPECT_EQ(settings_of(chn), "Default Channel Name|-1|" + std::string(31, '|'));
  }
}

constexpr const char* default_settings =
    "name='Default Configuration Name' instance='2749' cfg_version='3.0' boot_protocol='NONE' "
    "ip_addr='192.168.92.68' netmask='255.255.255.0' gateway='192.168.92.1' dns1='0.0.0.0' "
    "dns2='0.0.0.0' timezone='-6' ntp_enable='0' ntp_server='pool.ntp.org' ntp_refresh='1' "
    "dst_enable='0' dst_on_mon='2' dst_on_dom='SUN2' dst_on_hr='2' dst_off_mon='10' "
    "dst_off_dom='SUN1' dst_off_hr='2' ofl_poll_delay='15000' yax_poll_delay='500' "
    "mcd_poll_delay='2000' sys_read_delay='10' sys_read_max='24' baudrate='19200' protocol='RTU' "
    "parity='EVEN' timeout='1000' ifgap='0' bac_udp_port='47808' bac_bbmd_ip='0.0.0.0' "
    "bac_ttl='100'";

std::string joined(std::initializer_list<std::string_view> settings) {
  std::string text;
  for (const std::string_view setting : settings) text.append(setting) += '|';
  return text += '\n';
}

// Units and channels, with what they do not have from their type alone.
std::string special_text(const yax_cfg& doc) {
  std::string text;
  add_list(text, doc.unit_list, doc.unit_count, [&text](const unit_cfg& unit) {
    text += joined({unit.name.view(), unit.type.view(), unit.address.view()});
    add_list(text, unit.chn_list, unit.chn_count, [&text](const chn_cfg& chn) {
      text +=
          joined({chn.name.view(), chn.instance.view(), chn.chn_type.view(), chn.bac_desc.view(),
                  chn.reg_num.view(), chn.reg_size.view(), chn.reg_fcn.view()});
    });
  });
  return text;
}

TEST(MakeDefaultYaxCfg, GivesTheFactoryDocument) {
  constexpr const char* desc = "|Default channel description|";
  std::string standard;
  for (int at = 1; at <= 8; ++at) {
    standard += "Default Channel Name|" + std::to_string(at) +
                (at < 7 ? "|INPUT_10A" : "|OUTPUT_RLY") + desc + std::to_string(40099 + 2 * at) +
                "|2|16|\n";
  }
  const yax_cfg_ptr doc(make_default_yax_cfg());
  EXPECT_TRUE(document_text(*doc).starts_with(std::string(default_settings) + '{'));
  EXPECT_EQ(special_text(*doc), "Default YAX Unit|YAX_TYPE1|1|\n" + standard +
                                    "User Virtual Points|VIRTUAL|8|\n" +
                                    "Default Virtual Point|840001|INPUT_MCD_HREG" + desc +
                                    "40001|2|16|\n" + "System Virtual Points|VIRTUAL|9|\n" +
                                    "Time Set|910001|INPUT_MCD_BIN|Time Set|10001|1|6|\n");
}

TEST(InitYaxCfg, DoesNotTouchWhatHasNoDefault) {
  yax_cfg doc = {};
  ASSERT_TRUE(doc.bac_rpm.assign("kept") && doc.gateway.assign("replaced"));
  init_yax_cfg(&doc);
  EXPECT_EQ(document_text(doc), std::string(default_settings) + " bac_rpm='kept'");
}

TEST(AddUnitCfg, MakesUnitsOfEachTypeUnlessTheListIsFull) {
  const yax_cfg_ptr doc(make_record<yax_cfg>().release());
  ASSERT_NE(add_unit_cfg(doc.get(), 0, 0), nullptr);
  ASSERT_NE(add_unit_cfg(doc.get(), 0, 2), nullptr);
  EXPECT_EQ(document_text(*doc),
            "{name='Default Modbus Unit' type='MODBUS' address='1' poll_delay='0'}"
            "{name='Default Virtual Unit' type='VIRTUAL' address='2' poll_delay='0'}");
  unit_cfg* unit = doc->unit_list;
  ASSERT_NE(add_chn_cfg(unit, 0, 0, 12, 1), nullptr);
  doc->unit_count = unit->chn_count = max_list_count;
  for (const int type : {0, 1, 2}) EXPECT_EQ(add_unit_cfg(doc.get(), 0, type), nullptr);
  EXPECT_EQ(add_chn_cfg(unit, 0, 0, 12, 1), nullptr);
  EXPECT_EQ(unit->chn_list->next, nullptr);
}

}  // namespace
}  // namespace ruvex
