#include "ruvex/mapping/unit_index.h"

#include <search.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "grown_block.h"
#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/tables.h"

namespace ruvex {
namespace {

// A unit with what finding it and linking its channels take.
struct indexed_unit : unit_slot {
  std::string_view ip_address;  // the unit's own text; empty for a unit on the serial line
  std::int64_t address;
  std::uint32_t last_arrival;  // the number of its last channel; 0 while it has none
  indexed_unit* next_made;
  const indexed_unit* successor;  // the next larger one seen on the way to this one
};

// An empty IP address sorts before every other, so the two kinds do not mix.
int compare(const indexed_unit& a, const indexed_unit& b) noexcept {
  if (const int order = a.ip_address.compare(b.ip_address); order != 0) return order;
  return a.address < b.address ? -1 : a.address > b.address ? 1 : 0;
}

// On the way down the tree the last unit above the wanted one is its successor.
int compare_wanted(const void* wanted, const void* candidate) {
  const auto* candidate_unit = static_cast<const indexed_unit*>(candidate);
  const int order = compare(*static_cast<const indexed_unit*>(wanted), *candidate_unit);
  if (order < 0) {
    static_cast<indexed_unit*>(const_cast<void*>(wanted))->successor = candidate_unit;
  }
  return order;
}

// Good enough to spread the units of a site over the recent ones; a clash costs a walk down the
// tree.
std::size_t hash_of(const indexed_unit& unit, unsigned bits) noexcept {
  auto hash = static_cast<std::uint32_t>(unit.address);
  for (const char character : unit.ip_address) {
    hash = hash * 31 + static_cast<unsigned char>(character);
  }
  return hash * 0x9E3779B1U >> (32 - bits);  // the golden ratio's multiples lie far apart
}

bool same_kind(const indexed_unit& a, const indexed_unit& b) noexcept {
  return a.ip_address.empty() == b.ip_address.empty();
}

indexed_unit indexed(unit_cfg* unit, std::string_view ip_address,
                     std::string_view address) noexcept {
  return {{unit}, ip_address, decimal_prefix(address), 0, nullptr, nullptr};
}

record_ptr<unit_cfg> make_unit(const unit_text& text) noexcept {
  record_ptr<unit_cfg> unit = make_record<unit_cfg>();
  if (unit == nullptr) return nullptr;
  const bool complete =
      unit->name.assign(text.has_slash ? "Default Modbus/TCP CSV Unit Name"
                                       : "Default Modbus CSV Unit Name") &&
      unit->type.assign(
          enum_to_str(chk_unit_type, text.has_slash ? unit_type::modbus_tcp : unit_type::modbus)) &&
      unit->ip_address.assign(text.ip_address) && unit->address.assign(text.address) &&
      unit->poll_delay.assign("0");
  if (!complete) return nullptr;
  return unit;
}

struct arrival {
  std::int64_t reference;
  std::int32_t mask;
  std::uint32_t earlier;  // the number of the channel before it in its unit; 0 for none
  chn_cfg* chn;
};

struct place {
  std::int64_t reference;
  std::int32_t mask;
  std::uint32_t number;
  chn_cfg* chn;
};

}  // namespace

// A unit has to be found for every line, and its place among the others for every new unit. A walk
// along the list would take a million steps for the last of a million units; the tree takes twenty.
// Most lines name a unit that an earlier one has named. A table of recent units spares them the
// walk down the tree, which is 5 % of the converter's instructions (10,000 points of 100 units).
//
// Channels are put in order once, at the end. To insert each one as it comes would take a tree for
// every unit; sorting takes one array, and hardly any time where the lines of a unit are in order
// already, as they often are. Until then all channels are noted in one array, each with the number
// of the one before it in its unit. A number stays right when the array grows and moves, which a
// pointer would not, and it tells which of two equal channels came first.
class unit_index::content {
 public:
  explicit content(unit_cfg*& list) noexcept
      : list_(list),
        recent_(static_cast<indexed_unit**>(
            std::calloc(std::size_t{1} << recent_bits, sizeof(indexed_unit*)))) {}
  ~content();
  content(const content&) = delete;
  content& operator=(const content&) = delete;

  indexed_unit* find_or_add(const unit_text& text) noexcept;
  bool append(indexed_unit& unit, record_ptr<chn_cfg> chn, std::int32_t mask) noexcept;

 private:
  indexed_unit* find(indexed_unit& wanted) noexcept;
  indexed_unit* add(const indexed_unit& made) noexcept;
  void link(unit_cfg* unit, unit_cfg* successor) noexcept;
  void link_channels(indexed_unit& unit) noexcept;

  static constexpr unsigned recent_bits = 16;

  unit_cfg*& list_;
  unit_cfg* last_unit_ = nullptr;
  void* tree_ = nullptr;
  indexed_unit* last_made_ = nullptr;
  std::uint32_t arrived_ = 0;
  grown_block<arrival> arrivals_;  // by number; 0 is nobody's
  grown_block<place> places_;      // room for the channels of the largest unit
  indexed_unit** recent_;          // by hash; null where there was no memory for it
};

unit_index::content::~content() {
  tdestroy(tree_, [](void*) {});
  std::free(recent_);
  while (last_made_ != nullptr) {
    link_channels(*last_made_);
    std::free(std::exchange(last_made_, last_made_->next_made));
  }
}

indexed_unit* unit_index::content::find_or_add(const unit_text& text) noexcept {
  indexed_unit wanted = indexed(nullptr, text.ip_address, text.address);
  if (indexed_unit* found = find(wanted)) return found;
  record_ptr<unit_cfg> unit = make_unit(text);
  if (unit == nullptr) return nullptr;
  const indexed_unit* successor = wanted.successor;
  indexed_unit* made = add(indexed(unit.get(), unit->ip_address.view(), unit->address.view()));
  if (made == nullptr) return nullptr;
  const bool before = successor != nullptr && same_kind(*successor, *made);
  link(unit.release(), before ? successor->unit : nullptr);
  return made;
}

indexed_unit* unit_index::content::find(indexed_unit& wanted) noexcept {
  indexed_unit** recent = recent_ == nullptr ? nullptr : recent_ + hash_of(wanted, recent_bits);
  if (recent != nullptr && *recent != nullptr && compare(**recent, wanted) == 0) return *recent;
  void* node = tfind(&wanted, &tree_, compare_wanted);
  if (node == nullptr) return nullptr;
  indexed_unit* found = *static_cast<indexed_unit**>(node);
  if (recent != nullptr) *recent = found;
  return found;
}

indexed_unit* unit_index::content::add(const indexed_unit& made) noexcept {
  auto* unit = static_cast<indexed_unit*>(std::malloc(sizeof(indexed_unit)));
  if (unit == nullptr) return nullptr;
  *unit = made;
  if (tsearch(unit, &tree_, compare_wanted) == nullptr) {
    std::free(unit);
    return nullptr;
  }
  unit->next_made = last_made_;
  last_made_ = unit;
  return unit;
}

// Links the unit before `successor`, or at the end of the list where there is none.
void unit_index::content::link(unit_cfg* unit, unit_cfg* successor) noexcept {
  unit_cfg* const predecessor = successor != nullptr ? successor->prev : last_unit_;
  unit->prev = predecessor;
  unit->next = successor;
  (predecessor != nullptr ? predecessor->next : list_) = unit;
  (successor != nullptr ? successor->prev : last_unit_) = unit;
}

// Linking happens when the index goes and so must not fail: room for it is made here.
bool unit_index::content::append(indexed_unit& unit, record_ptr<chn_cfg> chn,
                                 std::int32_t mask) noexcept {
  const auto count = static_cast<std::size_t>(unit.unit->chn_count) + 1;
  if (!arrivals_.make_room(std::size_t{arrived_} + 2) || !places_.make_room(count)) return false;
  ++arrived_;
  arrivals_[arrived_] = {decimal_prefix(chn->reg_num.view()), mask, unit.last_arrival,
                         chn.release()};
  unit.last_arrival = arrived_;
  ++unit.unit->chn_count;
  return true;
}

void unit_index::content::link_channels(indexed_unit& unit) noexcept {
  place* const begin = places_.data();
  place* const end = begin + unit.unit->chn_count;
  place* at = end;
  for (std::uint32_t number = unit.last_arrival; number != 0; number = arrivals_[number].earlier) {
    const arrival& noted = arrivals_[number];
    *--at = {noted.reference, noted.mask, number, noted.chn};
  }
  const auto before = [](const place& a, const place& b) {
    if (a.reference != b.reference) return a.reference < b.reference;
    if (a.mask != b.mask) return a.mask < b.mask;
    return a.number < b.number;
  };
  if (!std::is_sorted(begin, end, before)) std::sort(begin, end, before);
  chn_cfg* previous = nullptr;
  for (at = begin; at != end; ++at) {
    at->chn->prev = previous;
    (previous != nullptr ? previous->next : unit.unit->chn_list) = at->chn;
    previous = at->chn;
  }
}

unit_index::unit_index(unit_cfg*& list) noexcept
    : content_(static_cast<content*>(std::malloc(sizeof(content)))) {
  if (content_ != nullptr) new (content_) content(list);
}

unit_index::~unit_index() {
  if (content_ == nullptr) return;
  content_->~content();
  std::free(content_);
}

unit_slot* unit_index::find_or_add(const unit_text& text) noexcept {
  return content_ != nullptr ? content_->find_or_add(text) : nullptr;
}

bool unit_index::append(unit_slot& slot, record_ptr<chn_cfg> chn, std::int32_t mask) noexcept {
  return content_->append(static_cast<indexed_unit&>(slot), std::move(chn), mask);
}

}  // namespace ruvex
