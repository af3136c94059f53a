#include "converter/unit_index.h"

#include <algorithm>
#include <cstdlib>
#include <list>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "converter/mapping_reader.h"
#include "converter/unit_list.h"

namespace ruvex {
namespace {

std::int64_t number(const std::string& text) {
  return std::strtoll(text.c_str(), nullptr, 10);
}

struct model_channel {
  std::int64_t reference;
  std::int32_t mask;
  std::string text;
};

struct model_unit {
  std::string ip_address, address, slash;
  const unit_cfg* unit = nullptr;
  std::vector<model_channel> channels = {};
  std::int64_t key = number(address);
};

// The lists as a reader would keep them that walks them for every line.
class model {
 public:
  model_unit& find_or_add(const std::string& field) {
    const std::size_t slash = field.find('/');
    const model_unit wanted =
        slash == field.npos ? model_unit{"", field, ""}
                            : model_unit{field.substr(0, slash), field.substr(slash + 1), "/"};
    auto at = units_.begin();
    for (; at != units_.end(); ++at) {
      if (at->ip_address.empty() != wanted.ip_address.empty()) continue;
      const int order = at->ip_address.compare(wanted.ip_address);
      if (order == 0 && at->key == wanted.key) return *at;
      if (order > 0 || (order == 0 && at->key > wanted.key)) break;
    }
    return *units_.insert(at, wanted);
  }

  static void append(model_unit& unit, const model_channel& chn) {
    const auto is_greater = [&chn](const model_channel& other) {
      return other.reference != chn.reference ? other.reference > chn.reference
                                              : other.mask > chn.mask;
    };
    unit.channels.insert(std::find_if(unit.channels.begin(), unit.channels.end(), is_greater), chn);
  }

  std::string text() const {  // as list_text()
    std::string text;
    for (const model_unit& unit : units_) {
      text += (text.empty() ? "" : " ") + unit.ip_address + unit.slash + unit.address + '[';
      for (const model_channel& chn : unit.channels) text += chn.text + ' ';
      if (!unit.channels.empty()) text.pop_back();
      text += ']';
    }
    return text;
  }

 private:
  std::list<model_unit> units_;
};

class UnitIndex : public testing::Test {
 protected:
  ~UnitIndex() override { free_units(); }

  unit_slot* find_or_add(const std::string& field) { return index_.find_or_add(parse_unit(field)); }

  // The text of the mask is free to tell equal channels apart.
  bool append(unit_slot& slot, const std::string& reference, std::int32_t mask,
              const std::string& mask_text) {
    record_ptr<chn_cfg> chn = make_record<chn_cfg>();
    return chn->reg_num.assign(reference) && chn->reg_mask.assign(mask_text) &&
           index_.append(slot, std::move(chn), mask);
  }

  unit_index index_{modUnits};
};

TEST_F(UnitIndex, ListsAreThoseOfAWalkForEveryLine) {
  const std::string ip_addresses[] = {"",   "",           "/",     "10.0.0.9/", "10.0.0.10/",
                                      "A/", "10.0.0.9 /", "\xff/", "a/b"};
  const std::string signs[] = {"", "", "", "0", "00", " ", "+", "-", "x", "18446744073709551616"};
  const std::string ends[] = {"", "", " x", "/", ".5"};
  std::mt19937 random(7);
  const auto pick = [&random](const auto& texts) { return texts[random() % std::size(texts)]; };
  model expected;
  for (int line = 0; line < 6000; ++line) {
    // Addresses far apart, since neighbours would never share a place in a table by hash. The
    // first unit gets half of the lines, and so channels with equal keys.
    const auto address = random() % 20 + (random() % 20 << 16) + (random() % 2 << 20);
    const std::string field =
        line % 2 == 0 ? "5"
                      : pick(ip_addresses) + pick(signs) + std::to_string(address) + pick(ends);
    model_unit& unit = expected.find_or_add(field);
    unit_slot* slot = find_or_add(field);
    ASSERT_NE(slot, nullptr);
    if (unit.unit == nullptr) unit.unit = slot->unit;
    ASSERT_EQ(unit.unit, slot->unit) << field;
    if (line % 5 == 0) continue;
    const std::string reference = pick(signs) + std::to_string(40000 + random() % 20);
    const std::int32_t mask = static_cast<std::int32_t>(1U << (27 + random() % 5));
    const std::string arrival = std::to_string(line);
    ASSERT_TRUE(append(*slot, reference, mask, arrival));
    model::append(unit, {number(reference), mask, reference + ":" + arrival});
  }
  index_.link_channels();
  EXPECT_EQ(list_text(modUnits), expected.text());
}

TEST_F(UnitIndex, MoreUnitsThanTheTableOfRecentOnesHolds) {
  std::vector<int> addresses(40000);
  std::iota(addresses.begin(), addresses.end(), 1);
  std::string expected;
  for (const int address : addresses) expected += std::to_string(address) + "[] ";
  expected.pop_back();
  std::shuffle(addresses.begin(), addresses.end(), std::mt19937(9));
  std::vector<unit_slot*> slots;
  for (const int address : addresses) slots.push_back(find_or_add(std::to_string(address)));
  for (std::size_t at = 0; at < 2 * slots.size(); ++at) {
    const int address = addresses[at % slots.size()];
    ASSERT_EQ(find_or_add(std::to_string(address) + "."), slots[at % slots.size()]) << address;
  }
  EXPECT_TRUE(list_text(modUnits) == expected);
}

TEST_F(UnitIndex, ANewUnitIsNamedByTheSlashAndAFoundOneKeepsItsSettings) {
  const std::string serial = "Default Modbus CSV Unit Name|MODBUS|";
  const std::string tcp = "Default Modbus/TCP CSV Unit Name|MODBUS_TCP|";
  const std::pair<const char*, std::string> cases[] = {
      // clang-format off
      {"5",  serial + "|5|0"},   {"10.0.0.5/03", tcp + "10.0.0.5|03|0"},  {"/6",    tcp + "|6|0"},
      {"",   serial + "||0"},    {"a/",          tcp + "a||0"},           {"a/b/c", tcp + "a||0"},
      {"/05", serial + "|5|0"},  {"10.0.0.5/3",  tcp + "10.0.0.5|03|0"},  {"6",     tcp + "|6|0"},
      {"99999999999999999999", serial + "|99999999999999999999|0"},
      {"18446744073709551617", serial + "|99999999999999999999|0"},
      // clang-format on
  };
  for (const auto& [field, settings] : cases) {
    const unit_slot* slot = find_or_add(field);
    ASSERT_NE(slot, nullptr);
    const unit_cfg& unit = *slot->unit;
    std::string found;
    for (const std::string_view text : {unit.name.view(), unit.type.view(), unit.ip_address.view(),
                                        unit.address.view(), unit.poll_delay.view()}) {
      found.append(text) += '|';
    }
    EXPECT_EQ(found, settings + "|") << field;
    EXPECT_TRUE(unit.instance.empty() && unit.chn_list == nullptr && unit.chn_count == 0);
  }
}

}  // namespace
}  // namespace ruvex
