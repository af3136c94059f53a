#include "cfg/defaults.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cfg/fields.h"

namespace ruvex {
namespace {

// All settings in document order.
std::string settings_of(const chn_cfg& chn) {
  std::string settings;
  for (const auto& row : chn_attributes) settings.append(row.view(chn).view()) += '|';
  for (const auto& row : written_chn_elements) settings.append(row.view(chn).view()) += '|';
  return settings;
}

struct unit_with_channels {
  unit_cfg unit = {};
  ~unit_with_channels() {
    while (unit.chn_list != nullptr) {
      const record_ptr<chn_cfg> head(unit.chn_list);
      unit.chn_list = head->next;
    }
  }
  // The instances in list order, checked backwards as well.
  std::vector<std::string> instances() const {
    std::vector<std::string> found;
    const chn_cfg* previous = nullptr;
    for (const chn_cfg* chn = unit.chn_list; chn != nullptr; chn = chn->next) {
      EXPECT_EQ(chn->prev, previous);
      found.emplace_back(chn->instance.view());
      previous = chn;
    }
    EXPECT_EQ(found.size(), static_cast<std::size_t>(unit.chn_count));
    return found;
  }
};

TEST(InitChnCfg, FillsEverySettingOfTheSevenTypes) {
  const struct {
    std::int32_t type, index;
    const char* settings;
  } cases[] = {
      // clang-format off
      {3, 3, "Default Channel Name|5|INPUT_10A|ANALOG_INPUT|VOLTS|0|Default channel description|0|10|0|10|0|2.5|7.5|1|0|FAHRENHEIT|0|0|0|"
               "40107|2|LITTLE|UNSIGNED|16|OFF|OFF|OFF|AUTO|0|0|10|0|"},
      {19, 0, "Default Channel Name|5|OUTPUT_RLY|BINARY_OUTPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "40101|2|LITTLE|UNSIGNED|16|OFF|OFF|OFF|AUTO|0|0|1|0|"},
      {10, 2, "Default Channel Name|5|INPUT_MCD_BIN|BINARY_INPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "10003|1|BIG|UNSIGNED|6|OFF|OFF|OFF|AUTO|0|0|1|0|"},
      {11, 0, "Default Channel Name|5|INPUT_MCD_IREG|ANALOG_INPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "30001|1|BIG|UNSIGNED|6|OFF|OFF|OFF|AUTO|0|0|65535|0|"},
      {12, 1, "Default Channel Name|5|INPUT_MCD_HREG|ANALOG_INPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "40002|1|BIG|UNSIGNED|6|OFF|OFF|OFF|AUTO|0|0|65535|0|"},
      {20, 0, "Default Channel Name|5|OUTPUT_MCD_BIN|BINARY_OUTPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "1|1|BIG|UNSIGNED|5|OFF|OFF|OFF|AUTO|0|0|1|0|"},
      {21, 4, "Default Channel Name|5|OUTPUT_MCD_HREG|ANALOG_OUTPUT|NO_UNITS|0|Default channel description|0|1|0|1|0|0|1|1|0|FAHRENHEIT|0|0|0|"
               "40005|1|BIG|UNSIGNED|6|OFF|OFF|OFF|AUTO|0|0|65535|0|"},
      // clang-format on
  };
  for (const auto& row : cases) {
    chn_cfg chn = {};
    init_chn_cfg(&chn, row.index, row.type, 5);
    EXPECT_EQ(settings_of(chn), row.settings) << "type " << row.type;
    EXPECT_EQ(chn.prev, nullptr);
    EXPECT_EQ(chn.next, nullptr);
  }
}

TEST(InitChnCfg, GivesOtherTypesANameAndAnInstanceAlone) {
  for (const std::int32_t type : {0, 1, 2, 4, 5, 6, 7, 8, 9, 13, 14, 15, 16, 17, 18, 22, -1}) {
    chn_cfg chn = {};
    init_chn_cfg(&chn, 0, type, -1);
    EXPECT_EQ(settings_of(chn), "Default Channel Name|-1|" + std::string(31, '|'));
  }
}

TEST(InitChnCfg, TakesAnyIndex) {
  chn_cfg chn = {};
  init_chn_cfg(&chn, std::numeric_limits<std::int32_t>::max(), 3, 840001);
  EXPECT_EQ(chn.reg_num, "4295007395");
  EXPECT_EQ(chn.instance, "840001");
}

TEST(AddChnCfg, LinksAfterThePositionOrRefuses) {
  unit_with_channels owner;
  const struct {
    std::int32_t pos;
    std::vector<std::string> instances;  // afterwards; as before where it is refused
  } cases[] = {
      {1, {}},
      {-1, {}},
      {0, {"0"}},
      {1, {"0"}},
      {0, {"0", "2"}},
      {0, {"0", "3", "2"}},
      {2, {"0", "3", "2", "4"}},
      {-3, {"0", "5", "3", "2", "4"}},
      {5, {"0", "5", "3", "2", "4"}},
  };
  std::int32_t next_instance = -2;
  for (const auto& row : cases) {
    const auto before = owner.instances();
    const std::int32_t instance = next_instance++;
    chn_cfg* added = add_chn_cfg(&owner.unit, row.pos, 0, 12, instance);
    EXPECT_EQ(owner.instances(), row.instances) << "instance " << instance;
    EXPECT_EQ(added == nullptr, before == row.instances);
    if (added != nullptr) {
      EXPECT_EQ(added->instance, std::to_string(instance));
    }
  }
}

TEST(AddChnCfg, RefusesWhenTheCountIsFull) {
  unit_with_channels owner;
  ASSERT_NE(add_chn_cfg(&owner.unit, 0, 0, 12, 1), nullptr);
  owner.unit.chn_count = max_list_count;
  EXPECT_EQ(add_chn_cfg(&owner.unit, 0, 0, 12, 2), nullptr);
  EXPECT_EQ(owner.unit.chn_count, max_list_count);
  owner.unit.chn_count = 1;
}

}  // namespace
}  // namespace ruvex
