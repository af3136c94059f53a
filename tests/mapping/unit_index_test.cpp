#include "ruvex/mapping/unit_index.h"

#include <algorithm>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "converter/unit_list.h"
#include "gtest/gtest.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/edit.h"

namespace ruvex {
namespace {

struct model_unit {
  std::string field, ip_address;
  std::int64_t address;
  std::vector<std::tuple<std::int64_t, std::int32_t, int, std::string>> channels = {};
};

// The unit of a field in a list as a reader would keep it that walks it for every line.
model_unit& find_or_add(std::list<model_unit>& units, const std::string& field) {
  const std::size_t slash = field.find('/');
  const std::string ip_address = slash == field.npos ? "" : field.substr(0, slash);
  const std::int64_t address = decimal_prefix(field.substr(slash + 1));  // npos + 1 is 0
  auto at = units.begin();
  while (at != units.end() &&
         (at->ip_address.empty() != ip_address.empty() ||
          std::tie(at->ip_address, at->address) < std::tie(ip_address, address))) {
    ++at;
  }
  if (at != units.end() && at->ip_address == ip_address && at->address == address) return *at;
  return *units.insert(at, {field, ip_address, address});
}

// As list_text() gives it.
std::string text_of(std::list<model_unit>& units) {
  std::string text;
  for (model_unit& unit : units) {
    std::ranges::sort(unit.channels);
    std::string channels;
    for (const auto& chn : unit.channels) channels += ' ' + std::get<std::string>(chn);
    text += ' ' + unit.field + '[' + channels.erase(0, 1) + ']';
  }
  return text.erase(0, 1);
}

TEST(UnitIndex, ListsAreThoseOfAWalkForEveryLine) {
  const std::string ip_addresses[] = {"",   "",           "/",     "10.0.0.9/", "10.0.0.10/",
                                      "A/", "10.0.0.9 /", "\xff/", "a/b"};
  const std::string signs[] = {"", "", "", "0", "00", " ", "+", "-", "x", "18446744073709551616"};
  const std::string ends[] = {"", "", " x", "/", ".5"};
  std::mt19937 random(7);
  const auto pick = [&random](const auto& texts) { return texts[random() % std::size(texts)]; };
  const yax_cfg_ptr doc(make_record<yax_cfg>().release());
  auto index = std::make_unique<unit_index>(doc->unit_list);
  std::list<model_unit> expected;
  for (int line = 0; line < 6000; ++line) {
    // Addresses far apart, since neighbours would never share a place in a table by hash. The
    // first unit gets half of the lines, and so channels with equal keys.
    const auto address = random() % 20 + (random() % 20 << 16) + (random() % 2 << 20);
    const std::string field =
        line % 2 == 0 ? "5"
                      : pick(ip_addresses) + pick(signs) + std::to_string(address) + pick(ends);
    model_unit& unit = find_or_add(expected, field);
    unit_slot* slot = index->find_or_add(parse_unit(field));
    ASSERT_NE(slot, nullptr);
    if (line % 5 == 0) continue;
    const std::string reference = pick(signs) + std::to_string(40000 + random() % 20);
    const auto mask = static_cast<std::int32_t>(1U << (27 + random() % 5));
    const std::string arrival = std::to_string(line);  // tells equal channels apart
    record_ptr<chn_cfg> chn = make_record<chn_cfg>();
    ASSERT_TRUE(chn->reg_num.assign(reference) && chn->reg_mask.assign(arrival) &&
                index->append(*slot, std::move(chn), mask));
    unit.channels.emplace_back(decimal_prefix(reference), mask, line, reference + ":" + arrival);
  }
  index.reset();
  EXPECT_EQ(list_text(doc->unit_list), text_of(expected));
}

}  // namespace
}  // namespace ruvex
