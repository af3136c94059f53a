#include "ruvex/mapping/unit_index.h"

#include <algorithm>
#include <cstdlib>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "converter/unit_list.h"
#include "ruvex/cfg/edit.h"

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

  std::string text() const {  // as list_text()
    std::string text;
    for (model_unit unit : units_) {
      std::ranges::stable_sort(unit.channels, {}, [](const model_channel& chn) {
        return std::pair(chn.reference, chn.mask);
      });
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

TEST(UnitIndex, ListsAreThoseOfAWalkForEveryLine) {
  const std::string ip_addresses[] = {"",   "",           "/",     "10.0.0.9/", "10.0.0.10/",
                                      "A/", "10.0.0.9 /", "\xff/", "a/b"};
  const std::string signs[] = {"", "", "", "0", "00", " ", "+", "-", "x", "18446744073709551616"};
  const std::string ends[] = {"", "", " x", "/", ".5"};
  std::mt19937 random(7);
  const auto pick = [&random](const auto& texts) { return texts[random() % std::size(texts)]; };
  const yax_cfg_ptr doc(make_record<yax_cfg>().release());
  auto index = std::make_unique<unit_index>(doc->unit_list);
  model expected;
  for (int line = 0; line < 6000; ++line) {
    // Addresses far apart, since neighbours would never share a place in a table by hash. The
    // first unit gets half of the lines, and so channels with equal keys.
    const auto address = random() % 20 + (random() % 20 << 16) + (random() % 2 << 20);
    const std::string field =
        line % 2 == 0 ? "5"
                      : pick(ip_addresses) + pick(signs) + std::to_string(address) + pick(ends);
    model_unit& unit = expected.find_or_add(field);
    unit_slot* slot = index->find_or_add(parse_unit(field));
    ASSERT_NE(slot, nullptr);
    if (unit.unit == nullptr) unit.unit = slot->unit;
    ASSERT_EQ(unit.unit, slot->unit) << field;
    if (line % 5 == 0) continue;
    const std::string reference = pick(signs) + std::to_string(40000 + random() % 20);
    const std::int32_t mask = static_cast<std::int32_t>(1U << (27 + random() % 5));
    const std::string arrival = std::to_string(line);
    record_ptr<chn_cfg> chn = make_record<chn_cfg>();
    // The text of the mask is free to tell equal channels apart.
    ASSERT_TRUE(chn->reg_num.assign(reference) && chn->reg_mask.assign(arrival) &&
                index->append(*slot, std::move(chn), mask));
    unit.channels.push_back({number(reference), mask, reference + ":" + arrival});
  }
  index.reset();
  EXPECT_EQ(list_text(doc->unit_list), expected.text());
}

}  // namespace
}  // namespace ruvex
