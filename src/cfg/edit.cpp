#include "ruvex/cfg/edit.h"

#include <cstdlib>
#include <utility>

namespace ruvex {
namespace {

// Joins the record's neighbours. The caller sees to the owner's head.
template <class Record>
void unlink(const Record& record) noexcept {
  if (record.prev != nullptr) record.prev->next = record.next;
  if (record.next != nullptr) record.next->prev = record.prev;
}

template <class Record>
int swap_with_predecessor(Record* record) noexcept {
  Record* const before = record->prev;
  if (before == nullptr) return -1;
  Record* const after = record->next;
  record->prev = before->prev;
  if (before->prev != nullptr) before->prev->next = record;
  record->next = before;
  before->prev = record;
  before->next = after;
  if (after != nullptr) after->prev = before;
  return 0;
}

void release_channels(unit_cfg& unit) noexcept {
  while (unit.chn_list != nullptr) std::free(std::exchange(unit.chn_list, unit.chn_list->next));
}

// Links `copy` after `last`, or as the head of a list that has none yet. The copy is linked at
// once, so that its owner releases it when a later copy fails.
template <class Record>
void append(Record*& head, Record*& last, Record* copy) noexcept {
  copy->prev = last;
  copy->next = nullptr;
  (last != nullptr ? last->next : head) = copy;
  last = copy;
}

}  // namespace

void del_chn_cfg(unit_cfg* unit, chn_cfg* chn) noexcept {
  if (chn->prev == nullptr) unit->chn_list = chn->next;
  unlink(*chn);
  --unit->chn_count;
  std::free(chn);
}

void del_unit_cfg(unit_cfg* unit) noexcept {
  release_channels(*unit);
  unlink(*unit);
  std::free(unit);
}

void del_yax_cfg(yax_cfg* doc) noexcept {
  if (doc == nullptr) return;
  del_unit_list(doc->unit_list);
  std::free(doc);
}

void unit_cfg_delete::operator()(unit_cfg* unit) const noexcept {
  release_channels(*unit);
  std::free(unit);
}

void del_unit_list(unit_cfg* head) noexcept {
  while (head != nullptr) {
    const unit_cfg_ptr unit(std::exchange(head, head->next));
  }
}

int swap_chn_cfg(chn_cfg* chn) noexcept {
  return swap_with_predecessor(chn);
}

int swap_unit_cfg(unit_cfg* unit) noexcept {
  return swap_with_predecessor(unit);
}

unit_cfg* copy_unit_cfg(const unit_cfg* unit) noexcept {
  unit_cfg_ptr copy(copy_record(*unit).release());
  if (copy == nullptr) return nullptr;
  copy->chn_list = nullptr;
  chn_cfg* last = nullptr;
  for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
    chn_cfg* chn_copy = copy_record(*chn).release();
    if (chn_copy == nullptr) return nullptr;
    append(copy->chn_list, last, chn_copy);
  }
  return copy.release();
}

yax_cfg* copy_yax_cfg(const yax_cfg* doc) noexcept {
  yax_cfg_ptr copy(copy_record(*doc).release());
  if (copy == nullptr) return nullptr;
  copy->unit_list = nullptr;
  unit_cfg* last = nullptr;
  for (const unit_cfg* unit = doc->unit_list; unit != nullptr; unit = unit->next) {
    unit_cfg* unit_copy = copy_unit_cfg(unit);
    if (unit_copy == nullptr) return nullptr;
    append(copy->unit_list, last, unit_copy);
  }
  return copy.release();
}

}  // namespace ruvex
