#include "cfg/edit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "cfg/defaults.h"
#include "cfg/document_text.h"

namespace ruvex {
namespace {

using name_list = std::vector<std::string>;

// Whether the list holds the records of these names, in this order from either end.
template <class Record>
bool holds(const Record* head, int count, const name_list& names) {
  const Record* previous = nullptr;
  for (const std::string& name : names) {
    if (head == nullptr || head->prev != previous || head->name != name) return false;
    previous = std::exchange(head, head->next);
  }
  return head == nullptr && count == static_cast<int>(names.size());
}

// A document, and beside it, as plain lists of names, what it must hold.
class edited_document {
 public:
  // Both sides of one operation; false when its result is wrong.
  bool step() {
    const int at = any(doc_->unit_count);
    unit_cfg* unit = get_unit_ptr(doc_.get(), at);
    if (unit == nullptr) return add_unit();
    name_list& channels = *(channels_.begin() + at);
    chn_cfg* chn = get_chn_ptr(unit, any(unit->chn_count));
    switch (any(9)) {
      case 0:
      case 1:
        return doc_->unit_count < 9 ? add_unit() : del_unit(unit, at);
      case 2:
        return any(2) == 0 || del_unit(unit, at);
      case 3:
      case 4:
        return unit->chn_count > 12 || add_channel(unit, channels);
      case 5:
        return chn == nullptr || del_channel(unit, channels, chn);
      case 6:
        return chn == nullptr || swap(unit->chn_list, chn, swap_chn_cfg, channels);
      case 7:
        return swap(doc_->unit_list, unit, swap_unit_cfg, units_, &channels_);
      default:
        return copy(unit);
    }
  }
  bool is_as_expected() const {
    if (!holds(doc_->unit_list, doc_->unit_count, units_)) return false;
    const unit_cfg* unit = doc_->unit_list;
    for (const name_list& channels : channels_) {
      if (!holds(unit->chn_list, unit->chn_count, channels)) return false;
      unit = unit->next;
    }
    return true;
  }

 private:
  int any(int count) { return count == 0 ? 0 : static_cast<int>(random_() % unsigned(count)); }
  // Where a record comes to stand that is linked after `pos`; -1 where it is refused.
  static int place(int pos, int count) {
    if (count == 0) return pos == 0 ? 0 : -1;
    return pos >= count ? -1 : std::max(pos, 0) + 1;
  }
  template <class Record>
  std::string give_name(Record& record) {
    const std::string name = std::to_string(next_name_++);
    EXPECT_TRUE(record.name.assign(name));
    return name;
  }

  bool add_unit() {
    const int pos = any(doc_->unit_count + 4) - 2, type = any(5) - 1;
    const int at = type < 0 || type > 2 ? -1 : place(pos, doc_->unit_count);
    unit_cfg* unit = add_unit_cfg(doc_.get(), pos, type);
    if (unit == nullptr || at < 0) return unit == nullptr && at < 0;
    EXPECT_TRUE(unit->address.assign("1"));  // or the addresses would soon be used up
    units_.insert(units_.begin() + at, give_name(*unit));
    auto& channels = *channels_.insert(channels_.begin() + at, name_list());
    for (chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      channels.push_back(give_name(*chn));
    }
    return channels.size() == (type == 1 ? 8U : 0U);
  }
  bool add_channel(unit_cfg* unit, name_list& channels) {
    const int pos = any(unit->chn_count + 4) - 2;
    const int at = place(pos, unit->chn_count);
    chn_cfg* chn = add_chn_cfg(unit, pos, 0, 12, 1);
    if (chn == nullptr || at < 0) return chn == nullptr && at < 0;
    channels.insert(channels.begin() + at, give_name(*chn));
    return true;
  }
  bool del_unit(unit_cfg* unit, int at) {
    if (doc_->unit_list == unit) doc_->unit_list = unit->next;
    --doc_->unit_count;
    del_unit_cfg(unit);
    units_.erase(units_.begin() + at);
    channels_.erase(channels_.begin() + at);
    return true;
  }
  bool del_channel(unit_cfg* unit, name_list& channels, chn_cfg* chn) {
    std::erase(channels, chn->name.view());
    del_chn_cfg(unit, chn);
    return true;
  }
  // What moves to the front becomes the head by the caller's hand.
  template <class Record>
  static bool swap(Record*& head, Record* record, int (*move)(Record*), name_list& list,
                   std::vector<name_list>* lists = nullptr) {
    const auto at = std::find(list.begin(), list.end(), record->name.view()) - list.begin();
    Record* const head_before = head;
    if (move(record) != (at == 0 ? -1 : 0) || head != head_before) return false;
    if (at == 1) head = record;
    if (at < 1) return true;
    std::iter_swap(list.begin() + at, list.begin() + at - 1);
    if (lists != nullptr) std::iter_swap(lists->begin() + at, lists->begin() + at - 1);
    return true;
  }
  // Of a unit to be dropped, of the document to live on alone.
  bool copy(const unit_cfg* unit) {
    const unit_cfg_ptr other(copy_unit_cfg(unit));
    const bool same = other->prev == unit->prev && other->next == unit->next &&
                      unit_text(*other) == unit_text(*unit);
    doc_.reset(copy_yax_cfg(doc_.get()));
    return same;
  }

  std::mt19937 random_{20260301};
  int next_name_ = 0;
  yax_cfg_ptr doc_{make_record<yax_cfg>().release()};
  name_list units_;
  std::vector<name_list> channels_;  // of each unit
};

TEST(Edit, AnySequenceLeavesTheListsAsAPlainModelHasThem) {
#ifdef __arm__
  constexpr int steps = 5000;  // emulated, as a rule
#else
  constexpr int steps = 100000;
#endif
  edited_document doc;
  for (int step = 0; step < steps; ++step) {
    ASSERT_TRUE(doc.step()) << "step " << step;
    ASSERT_TRUE(doc.is_as_expected()) << "step " << step;
  }
}

// Three units, and three channels in each of them, called a, b and c.
yax_cfg_ptr abc_document() {
  yax_cfg_ptr doc(make_record<yax_cfg>().release());
  for (int at = 0; at < 3; ++at) {
    unit_cfg* unit = add_unit_cfg(doc.get(), std::max(at - 1, 0), 0);
    EXPECT_TRUE(unit->name.assign(std::string(1, "abc"[at])));
    for (int channel = 0; channel < 3; ++channel) {
      chn_cfg* chn = add_chn_cfg(unit, std::max(channel - 1, 0), 0, 12, 1);
      EXPECT_TRUE(chn->name.assign(std::string(1, "abc"[channel])));
    }
  }
  return doc;
}
template <class Record>
std::string order(const Record* head, int count) {
  std::string names;
  add_list(names, head, count, [&names](const Record& record) { names += record.name.view(); });
  return names;
}

TEST(Edit, MovesARecordOnePlaceTowardsTheHead) {
  const struct {
    int index, result;
    const char* after;
  } cases[] = {{0, -1, "abc"}, {1, 0, "bac"}, {2, 0, "acb"}};
  for (const auto& row : cases) {
    const yax_cfg_ptr doc = abc_document();
    unit_cfg* unit = get_unit_ptr(doc.get(), row.index);
    chn_cfg* chn = get_chn_ptr(unit, row.index);
    EXPECT_EQ(swap_unit_cfg(unit), row.result);
    EXPECT_EQ(swap_chn_cfg(chn), row.result);
    EXPECT_EQ(doc->unit_list->name, "a") << "the head is the caller's";
    EXPECT_EQ(unit->chn_list->name, "a");
    if (row.index == 1) doc->unit_list = unit, unit->chn_list = chn;
    EXPECT_EQ(order(doc->unit_list, doc->unit_count), row.after);
    EXPECT_EQ(order(unit->chn_list, unit->chn_count), row.after);
  }
}

TEST(Edit, DeletesFromAnyPlaceDownToTheLast) {
  const struct {
    std::vector<int> indices;
    const char* after;
  } cases[] = {{{0}, "bc"}, {{1}, "ac"}, {{2}, "ab"}, {{2, 1}, "a"}, {{0, 0, 0}, ""}};
  for (const auto& row : cases) {
    const yax_cfg_ptr doc = abc_document();
    unit_cfg* owner = get_unit_ptr(doc.get(), 1);
    for (const int index : row.indices) del_chn_cfg(owner, get_chn_ptr(owner, index));
    EXPECT_EQ(order(owner->chn_list, owner->chn_count), row.after);
    for (const int index : row.indices) {
      unit_cfg* unit = get_unit_ptr(doc.get(), index);
      if (index == 0) doc->unit_list = unit->next;
      --doc->unit_count;
      del_unit_cfg(unit);
    }
    EXPECT_EQ(order(doc->unit_list, doc->unit_count), row.after);
  }
  del_yax_cfg(nullptr);
}

std::set<const void*> addresses(const yax_cfg& doc) {
  std::set<const void*> found = {&doc};
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    found.insert(unit);
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) found.insert(chn);
  }
  return found;
}

TEST(Edit, ACopySharesNothingWithItsSource) {
  yax_cfg_ptr source(make_default_yax_cfg());
  const std::string content = document_text(*source);
  const yax_cfg_ptr copy(copy_yax_cfg(source.get()));
  std::set<const void*> all = addresses(*source);
  all.merge(addresses(*copy));
  EXPECT_EQ(all.size(), 2 * (1 + 3 + 10U));
  source.reset();
  EXPECT_EQ(document_text(*copy), content);
}

TEST(Edit, CopiesOfAUnitKeepItsNeighboursAndOfNothingAreEmpty) {
  const yax_cfg_ptr doc = abc_document();
  unit_cfg* source = get_unit_ptr(doc.get(), 1);
  for (const char* channels : {"abc", ""}) {
    const unit_cfg_ptr copy(copy_unit_cfg(source));
    EXPECT_EQ(copy->prev, doc->unit_list);
    EXPECT_EQ(copy->next, source->next);
    EXPECT_EQ(order(copy->chn_list, copy->chn_count), channels);
    EXPECT_EQ(unit_text(*copy), unit_text(*source));
    while (source->chn_list != nullptr) del_chn_cfg(source, source->chn_list);
  }
  EXPECT_EQ(order(doc->unit_list, doc->unit_count), "abc");
  const yax_cfg none = {};
  EXPECT_EQ(document_text(*yax_cfg_ptr(copy_yax_cfg(&none))), "");
}

}  // namespace
}  // namespace ruvex
