#include "ruvex/cfg/edit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "cfg/document_text.h"
#include "ruvex/cfg/defaults.h"

namespace ruvex {
namespace {

// A list of units, and one of channels, with what may be done to them.
struct units {
  yax_cfg_ptr owner{make_record<yax_cfg>().release()};
  unit_cfg*& head = owner->unit_list;
  std::int16_t& count = owner->unit_count;

  unit_cfg* get(int at) const { return get_unit_ptr(owner.get(), at); }
  unit_cfg* add(int pos) const { return add_unit_cfg(owner.get(), pos, 0); }
  void del(unit_cfg* unit) const {
    if (head == unit) head = unit->next;
    --count;
    del_unit_cfg(unit);
  }
  static int swap(unit_cfg* unit) { return swap_unit_cfg(unit); }
};
struct channels {
  unit_cfg_ptr owner{make_record<unit_cfg>().release()};
  chn_cfg*& head = owner->chn_list;
  std::int16_t& count = owner->chn_count;

  chn_cfg* get(int at) const { return get_chn_ptr(owner.get(), at); }
  chn_cfg* add(int pos) const { return add_chn_cfg(owner.get(), pos, 0, 12, 1); }
  void del(chn_cfg* chn) const { del_chn_cfg(owner.get(), chn); }
  static int swap(chn_cfg* chn) { return swap_chn_cfg(chn); }
};

// The names of a list's records, which are letters.
template <class List>
std::string names(const List& list) {
  std::string text;
  add_list(text, list.head, list.count, [&text](const auto& at) { text += at.name.view(); });
  return text;
}

template <class List>
void expect_each_operation_at_each_place() {
  for (const std::string before : {"", "a", "ab", "abc"}) {
    const int count = static_cast<int>(before.size());
    for (int pos = -2; pos < count + 2; ++pos) {
      SCOPED_TRACE(before + " at " + std::to_string(pos));
      const List added, deleted, swapped;
      for (const List* list : {&added, &deleted, &swapped}) {
        for (const char& name : before) {
          list->add(std::max(list->count - 1, 0))->name.ref().assign({&name, 1});
        }
      }
      std::string expected = before;
      if (auto* record = added.add(pos)) record->name = "x";
      const int at = std::max(pos, 0);
      if (count == 0 ? pos == 0 : pos < count) expected.insert(count == 0 ? 0 : at + 1, "x");
      EXPECT_EQ(names(added), expected);

      const bool is_found = count > 0 && pos < count;
      EXPECT_EQ(deleted.get(pos) != nullptr, is_found);
      if (!is_found) continue;
      deleted.del(deleted.get(pos));
      EXPECT_EQ(names(deleted), std::string(before).erase(at, 1));

      auto* const head = swapped.head;
      auto* const record = swapped.get(pos);
      EXPECT_EQ(List::swap(record), at == 0 ? -1 : 0);
      EXPECT_EQ(swapped.head, head) << "it is the caller's";
      if (at == 1) swapped.head = record;
      expected = before;
      if (at > 0) std::swap(expected[at], expected[at - 1]);
      EXPECT_EQ(names(swapped), expected);
    }
  }
}

TEST(Edit, EachOperationKeepsTheListInOrder) {
  expect_each_operation_at_each_place<units>();
  expect_each_operation_at_each_place<channels>();
  del_yax_cfg(nullptr);
}

TEST(Edit, CopiesAreTheSameAndShareNothing) {
  yax_cfg_ptr doc(make_default_yax_cfg());
  unit_cfg* const bare = add_unit_cfg(doc.get(), 1, 0);
  const unit_cfg_ptr unit(copy_unit_cfg(bare->next)), bare_unit(copy_unit_cfg(bare));
  EXPECT_TRUE(unit->prev == bare && unit->next == bare->next->next);
  EXPECT_EQ(bare_unit->chn_list, nullptr);
  const yax_cfg_ptr copy(copy_yax_cfg(doc.get()));
  const std::string text = document_text(*doc);
  doc.reset();
  std::string unit_text;
  add_unit(unit_text, *unit);
  EXPECT_EQ(document_text(*copy), text);
  EXPECT_TRUE(text.ends_with(unit_text));
}

}  // namespace
}  // namespace ruvex
