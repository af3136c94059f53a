#include "ruvex/mapping/unit_index.h"

#include <search.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "ruvex/cfg/decimal.h"
#include "ruvex/cfg/tables.h"

namespace ruvex {
namespace {

// An empty IP address sorts before every other, so the two kinds do not mix.
int compare(const unit_slot& a, const unit_slot& b) noexcept {
  if (const int order = a.ip_address.compare(b.ip_address); order != 0) return order;
  return a.address < b.address ? -1 : a.address > b.address ? 1 : 0;
}

// On the way down the tree the last slot above the wanted one is its successor.
int compare_wanted(const void* wanted, const void* candidate) {
  const auto* candidate_slot = static_cast<const unit_slot*>(candidate);
  const int order = compare(*static_cast<const unit_slot*>(wanted), *candidate_slot);
  if (order < 0) {
    static_cast<unit_slot*>(const_cast<void*>(wanted))->successor = candidate_slot;
  }
  return order;
}

// Good enough to spread the units of a site over the recent ones; a clash costs a walk down the
// tree.
std::size_t place_of(const unit_slot& slot, unsigned bits) noexcept {
  auto hash = static_cast<std::uint32_t>(slot.address);
  for (const char character : slot.ip_address) {
    hash = hash * 31 + static_cast<unsigned char>(character);
  }
  return hash * 0x9E3779B1U >> (32 - bits);  // the golden ratio's multiples lie far apart
}

bool same_kind(const unit_slot& a, const unit_slot& b) noexcept {
  return a.ip_address.empty() == b.ip_address.empty();
}

unit_slot slot_of(unit_cfg& unit) noexcept {
  return {unit.ip_address.view(), decimal_prefix(unit.address.view()), &unit, 0, nullptr, nullptr};
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

}  // namespace

unit_index::unit_index(unit_cfg*& list) noexcept
    : list_(list),
      recent_(static_cast<unit_slot**>(
          std::calloc(std::size_t{1} << recent_bits, sizeof(unit_slot*)))) {}

unit_index::~unit_index() {
  std::free(recent_);
  tdestroy(tree_, [](void*) {});
  while (slots_ != nullptr) std::free(std::exchange(slots_, slots_->next_slot));
}

unit_slot* unit_index::find_or_add(const unit_text& text) noexcept {
  unit_slot wanted = {text.ip_address, decimal_prefix(text.address), nullptr, 0, nullptr, nullptr};
  if (unit_slot* slot = find(wanted)) return slot;
  record_ptr<unit_cfg> unit = make_unit(text);
  if (unit == nullptr) return nullptr;
  const unit_slot* successor = wanted.successor;
  unit_slot* slot = add(slot_of(*unit));
  if (slot == nullptr) return nullptr;
  const bool before = successor != nullptr && same_kind(*successor, *slot);
  link(unit.release(), before ? successor->unit : nullptr);
  return slot;
}

unit_slot* unit_index::find(unit_slot& wanted) noexcept {
  unit_slot** recent = recent_ == nullptr ? nullptr : recent_ + place_of(wanted, recent_bits);
  if (recent != nullptr && *recent != nullptr && compare(**recent, wanted) == 0) return *recent;
  void* node = tfind(&wanted, &tree_, compare_wanted);
  if (node == nullptr) return nullptr;
  unit_slot* slot = *static_cast<unit_slot**>(node);
  if (recent != nullptr) *recent = slot;
  return slot;
}

unit_slot* unit_index::add(const unit_slot& wanted) noexcept {
  auto* slot = static_cast<unit_slot*>(std::malloc(sizeof(unit_slot)));
  if (slot == nullptr) return nullptr;
  *slot = wanted;
  if (tsearch(slot, &tree_, compare_wanted) == nullptr) {
    std::free(slot);
    return nullptr;
  }
  slot->next_slot = slots_;
  slots_ = slot;
  return slot;
}

// Links the unit before `successor`, or at the end of the list where there is none.
void unit_index::link(unit_cfg* unit, unit_cfg* successor) noexcept {
  unit_cfg* const predecessor = successor != nullptr ? successor->prev : last_unit_;
  unit->prev = predecessor;
  unit->next = successor;
  (predecessor != nullptr ? predecessor->next : list_) = unit;
  (successor != nullptr ? successor->prev : last_unit_) = unit;
}

// Everything that linking needs is made room for here.
bool unit_index::append(unit_slot& slot, record_ptr<chn_cfg> chn, std::int32_t mask) noexcept {
  const auto count = static_cast<std::size_t>(slot.unit->chn_count) + 1;
  if (!arrivals_.make_room(std::size_t{arrived_} + 2) || !places_.make_room(count)) return false;
  ++arrived_;
  arrivals_[arrived_] = {decimal_prefix(chn->reg_num.view()), mask, slot.last_arrival,
                         chn.release()};
  slot.last_arrival = arrived_;
  ++slot.unit->chn_count;
  return true;
}

void unit_index::link_channels() noexcept {
  for (unit_slot* slot = slots_; slot != nullptr; slot = slot->next_slot) link_channels(*slot);
}

void unit_index::link_channels(unit_slot& slot) noexcept {
  place* const begin = places_.data();
  place* const end = begin + slot.unit->chn_count;
  place* at = end;
  for (std::uint32_t number = slot.last_arrival; number != 0; number = arrivals_[number].earlier) {
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
    (previous != nullptr ? previous->next : slot.unit->chn_list) = at->chn;
    previous = at->chn;
  }
}

}  // namespace ruvex
