#include "ruvex/cfg/defaults.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "cfg/document_text.h"
#include "ruvex/cfg/doc_defaults.h"

namespace ruvex {
namespace {

chn_cfg default_channel(std::int32_t index, std::int32_t type, std::int32_t instance) {
  chn_cfg chn = {};
  init_chn_cfg(&chn, index, type, instance);
  return chn;
}
std::string text_of(const chn_cfg& chn) {
  std::string text;
  add_channel(text, chn);
  return text;
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
    const chn_cfg chn = default_channel(row.index, row.type, 5);
    std::string settings;
    for (const auto& at : written_chn_elements) settings.append(at.view(chn).view()) += '|';
    EXPECT_EQ(settings, row.types + "|0|Default channel description|0|" + row.high + "|0|" +
                            row.high + "|0|" + row.levels + "|1|0|FAHRENHEIT|0|0|0|" +
                            row.registers + "|OFF|OFF|OFF|AUTO|0|0|" + row.limit + "|0|")
        << "type " << row.type;
  }
}

TEST(InitChnCfg, GivesOtherTypesANameAndAnInstanceAlone) {
  for (const std::int32_t type : {0, 2, 4, 9, 13, 18, 22, -1}) {
    EXPECT_EQ(text_of(default_channel(0, type, -1)), "[name='Default Channel Name' instance='-1']");
  }
}

TEST(MakeDefaultYaxCfg, GivesTheFactoryDocument) {
  std::string standard;
  for (int at = 0; at < 8; ++at) standard += text_of(default_channel(at, at < 6 ? 3 : 19, at + 1));
  chn_cfg user = default_channel(0, 12, 840001), system = default_channel(0, 10, 910001);
  user.name = "Default Virtual Point";
  user.reg_size = "2";
  user.reg_fcn = "16";
  system.name = system.bac_desc = "Time Set";
  const std::string virtual_unit = " Virtual Points' type='VIRTUAL' address=";
  EXPECT_EQ(changes_text(*yax_cfg_ptr(make_default_yax_cfg())),
            "{name='Default YAX Unit' type='YAX_TYPE1' address='1' poll_delay='0'" + standard +
                "}{name='User" + virtual_unit + "'8' poll_delay='0'" + text_of(user) +
                "}{name='System" + virtual_unit + "'9' poll_delay='0'" + text_of(system) + "}");
}

TEST(InitYaxCfg, SetsWhatHasADefault) {
  yax_cfg doc = {};
  ASSERT_TRUE(doc.bac_rpm.assign("kept") && doc.gateway.assign("replaced"));
  init_yax_cfg(&doc);
  EXPECT_EQ(
      document_text(doc),
      "name='Default Configuration Name' instance='2749' cfg_version='3.0' boot_protocol='NONE' "
      "ip_addr='192.168.92.68' netmask='255.255.255.0' gateway='192.168.92.1' dns1='0.0.0.0' "
      "dns2='0.0.0.0' timezone='-6' ntp_enable='0' ntp_server='pool.ntp.org' ntp_refresh='1' "
      "dst_enable='0' dst_on_mon='2' dst_on_dom='SUN2' dst_on_hr='2' dst_off_mon='10' "
      "dst_off_dom='SUN1' dst_off_hr='2' ofl_poll_delay='15000' yax_poll_delay='500' "
      "mcd_poll_delay='2000' sys_read_delay='10' sys_read_max='24' baudrate='19200' protocol='RTU' "
      "parity='EVEN' timeout='1000' ifgap='0' bac_udp_port='47808' bac_bbmd_ip='0.0.0.0' "
      "bac_ttl='100' bac_rpm='kept'");
}

// Beside a unit with this address and with a channel of this instance.
TEST(AddUnitCfg, CountsOnFromTheLargestNumbers) {
  const struct {
    const char *address, *instance;
    int type;
    std::string added;  // the unit's address and its first channel's instance
  } cases[] = {
      // clang-format off
      {"246", " +12b9", 1, "247 13"},          {"247", "1", 0, "null"},
      {"junk7", "-5", 1, "1 1"},               {"9223372036854775807", "", 0, "null"},
      {"", "2147483639", 1, "1 2147483640"},   {"", "2147483640", 1, "null"},
      {"", "9223372036854775807", 0, "1"},     {"", "4294967296", 1, "null"},
      {"1", "1", 3, "null"},                   {"1", "1", -1, "null"},
      // clang-format on
  };
  for (const auto& row : cases) {
    const yax_cfg_ptr doc(make_record<yax_cfg>().release());
    unit_cfg* first = add_unit_cfg(doc.get(), 0, 0);
    first->address.ref().assign(row.address);
    add_chn_cfg(first, 0, 0, 12, 0)->instance.ref().assign(row.instance);
    const unit_cfg* unit = add_unit_cfg(doc.get(), 0, row.type);
    std::string added = unit == nullptr ? "null" : unit->address.c_str();
    if (row.type == 1 && unit != nullptr) added.append(" ") += unit->chn_list->instance.view();
    EXPECT_EQ(added, row.added) << row.address << " " << row.instance;
  }
}

TEST(AddUnitCfg, MakesUnitsUnlessTheListIsFull) {
  const yax_cfg_ptr doc(make_record<yax_cfg>().release());
  unit_cfg* unit = add_unit_cfg(doc.get(), 0, 0);
  ASSERT_NE(add_unit_cfg(doc.get(), 0, 2), nullptr);
  EXPECT_EQ(document_text(*doc),
            "{name='Default Modbus Unit' type='MODBUS' address='1' poll_delay='0'}"
            "{name='Default Virtual Unit' type='VIRTUAL' address='2' poll_delay='0'}");
  ASSERT_NE(add_chn_cfg(unit, 0, 0, 12, 1), nullptr);
  doc->unit_count = unit->chn_count = max_list_count;
  EXPECT_EQ(add_unit_cfg(doc.get(), 0, 0), nullptr);
  EXPECT_EQ(add_chn_cfg(unit, 0, 0, 12, 1), nullptr);
  EXPECT_EQ(unit->chn_list->next, nullptr);
}

}  // namespace
}  // namespace ruvex
