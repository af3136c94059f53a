#include "ruvex/cfg/defaults.h"

#include <gtest/gtest.h>

#include <string>

#include "cfg/document_text.h"
#include "ruvex/cfg/doc_defaults.h"

namespace ruvex {
namespace {

TEST(InitChnCfg, GivesOtherTypesANameAndAnInstanceAlone) {
  for (const std::int32_t type : {0, 2, 4, 9, 13, 18, 22, -1}) {
    chn_cfg chn = {};
    init_chn_cfg(&chn, 0, type, -1);
    std::string text;
    add_channel(text, chn);
    EXPECT_EQ(text, "[name='Default Channel Name' instance='-1']");
  }
}

// The other defaults are those of the factory document.
TEST(InitYaxCfg, SetsWhatHasADefault) {
  yax_cfg doc = {};
  ASSERT_TRUE(doc.bac_rpm.assign("kept") && doc.gateway.assign("replaced"));
  init_yax_cfg(&doc);
  EXPECT_EQ(doc.cfg_version, "3.0");
  EXPECT_EQ(doc.gateway, "192.168.92.1");
  EXPECT_EQ(doc.bac_rpm, "kept");
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
