#include "ruvex/cfg/edit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "cfg/document_text.h"
#include "ruvex/cfg/defaults.h"

namespace ruvex {
namespace {

struct model_unit {
  std::string name;
  std::vector<std::string> channels = {};
};

long long number(const auto& text) {
  return std::strtoll(text.c_str(), nullptr, 10);
}

// A document, and beside it, as plain lists of names, what it must hold.
class edited_document {
 public:
  // Both sides of one operation; false when its result is wrong.
  bool step() {
    const int at = any(doc_->unit_count), what = any(9);
    unit_cfg* unit = get_unit_ptr(doc_.get(), at);
    if (unit == nullptr || (what < 2 && doc_->unit_count < 9)) return add_unit();
    if (what < 2 || what == any(6)) return del_unit(unit, at);
    if (what < 4) return copy(unit);
    if (what == 4) return swap(doc_->unit_list, unit, swap_unit_cfg, units_, at);
    std::vector<std::string>& channels = units_[at].channels;
    const int place = any(unit->chn_count);
    chn_cfg* chn = get_chn_ptr(unit, place);
    if (chn == nullptr || (what < 7 && unit->chn_count < 13)) return add_channel(unit, channels);
    if (what == 7) return swap(unit->chn_list, chn, swap_chn_cfg, channels, place);
    channels.erase(channels.begin() + place);
    del_chn_cfg(unit, chn);
    return true;
  }
  std::string expected() const {
    std::string text;
    for (const model_unit& unit : units_) {
      text += unit.name + '[';
      for (const std::string& channel : unit.channels) text += channel + ' ';
      text += ']';
    }
    return text;
  }
  std::string found() const {
    EXPECT_EQ(get_unit_ptr(doc_.get(), -1), doc_->unit_list);
    EXPECT_EQ(get_unit_ptr(doc_.get(), doc_->unit_count), nullptr);
    std::string text;
    add_list(text, doc_->unit_list, doc_->unit_count, [&text](const unit_cfg& unit) {
      text.append(unit.name.view()) += '[';
      add_list(text, unit.chn_list, unit.chn_count,
               [&text](const chn_cfg& chn) { text.append(chn.name.view()) += ' '; });
      text += ']';
    });
    return text;
  }

 private:
  int any(int count) { return count == 0 ? 0 : static_cast<int>(random_() % unsigned(count)); }
  // Where a record comes to stand that is linked after `pos`; -1 where it is refused.
  static int place_after(int pos, int count) {
    if (count == 0) return pos == 0 ? 0 : -1;
    return pos >= count ? -1 : std::max(pos, 0) + 1;
  }
  // A name, and a number that those to come are counted on from.
  template <class Record, class Number>
  std::string mark(Record& record, Number& number, const char* text) {
    const std::string name = std::to_string(next_name_++);
    EXPECT_TRUE(record.name.assign(name) && number.assign(text));
    return name;
  }
  const char* any_number(int one_in) {
    constexpr const char* rare[] = {"junk7",
                                    "-5",
                                    " +12b99",
                                    "0x30",
                                    "246",
                                    "247",
                                    "910001",
                                    "2147483639",
                                    "2147483640",
                                    "4294967296",
                                    "9223372036854775807",
                                    ""};
    return any(one_in) == 0 ? rare[any(12)] : "6";
  }
  // One above the largest address and the largest instance of the document.
  std::pair<long long, long long> next_numbers() const {
    constexpr long long end = std::numeric_limits<long long>::max() - 1;
    long long address = 0, instance = 0;
    for (const unit_cfg* unit = doc_->unit_list; unit != nullptr; unit = unit->next) {
      address = std::max(address, number(unit->address));
      for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
        instance = std::max(instance, number(chn->instance));
      }
    }
    return {std::min(address, end) + 1, std::min(instance, end) + 1};
  }

  bool add_unit() {
    const int pos = any(doc_->unit_count + 4) - 2, type = any(5) - 1;
    const auto [address, instance] = next_numbers();
    const bool is_made = type >= 0 && type <= 2 && address <= 247 &&
                         (type != 1 || instance <= std::numeric_limits<int>::max() - 7);
    const int at = is_made ? place_after(pos, doc_->unit_count) : -1;
    unit_cfg* unit = add_unit_cfg(doc_.get(), pos, type);
    if (unit == nullptr || at < 0) return unit == nullptr && at < 0;
    EXPECT_EQ(number(unit->address), address);
    model_unit added = {mark(*unit, unit->address, any_number(6))};
    for (chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      EXPECT_EQ(number(chn->instance), instance + static_cast<int>(added.channels.size()));
      added.channels.push_back(mark(*chn, chn->instance, any_number(30)));
    }
    EXPECT_EQ(added.channels.size(), type == 1 ? 8U : 0U);
    units_.insert(units_.begin() + at, added);
    return true;
  }
  bool add_channel(unit_cfg* unit, std::vector<std::string>& channels) {
    const int pos = any(unit->chn_count + 4) - 2;
    const int at = place_after(pos, unit->chn_count);
    chn_cfg* chn = add_chn_cfg(unit, pos, 0, 12, 1);
    if (chn == nullptr || at < 0) return chn == nullptr && at < 0;
    channels.insert(channels.begin() + at, mark(*chn, chn->instance, any_number(30)));
    return true;
  }
  bool del_unit(unit_cfg* unit, int at) {
    if (doc_->unit_list == unit) doc_->unit_list = unit->next;
    --doc_->unit_count;
    del_unit_cfg(unit);
    units_.erase(units_.begin() + at);
    return true;
  }
  // What moves to the front becomes the head by the caller's hand.
  template <class Record, class Item>
  static bool swap(Record*& head, Record* record, int (*move)(Record*), std::vector<Item>& list,
                   int at) {
    Record* const head_before = head;
    if (move(record) != (at == 0 ? -1 : 0) || head != head_before) return false;
    if (at == 1) head = record;
    if (at > 0) std::swap(list[at], list[at - 1]);
    return true;
  }
  // Of a unit to be dropped, of the document to live on alone.
  bool copy(const unit_cfg* unit) {
    const unit_cfg_ptr other(copy_unit_cfg(unit));
    std::string text, copied;
    ruvex::add_unit(text, *unit);
    ruvex::add_unit(copied, *other);
    const bool same = other->prev == unit->prev && other->next == unit->next && copied == text;
    doc_.reset(copy_yax_cfg(doc_.get()));
    return same;
  }

  std::mt19937 random_{20260301};
  int next_name_ = 0;
  yax_cfg_ptr doc_{make_record<yax_cfg>().release()};
  std::vector<model_unit> units_;
};

TEST(Edit, AnySequenceLeavesTheListsAsAPlainModelHasThem) {
  edited_document doc;
  for (int step = 0; step < 100000; ++step) {
    ASSERT_TRUE(doc.step()) << "step " << step;
    ASSERT_EQ(doc.found(), doc.expected()) << "step " << step;
  }
  del_yax_cfg(nullptr);
}

}  // namespace
}  // namespace ruvex
