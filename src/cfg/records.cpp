#include "ruvex/cfg/records.h"

namespace ruvex {
namespace {

template <class Record>
Record* at_position(Record* head, std::int32_t count, std::int32_t index) noexcept {
  if (index >= count) return nullptr;
  Record* record = head;
  for (; index > 0 && record != nullptr; --index) record = record->next;
  return record;
}

}  // namespace

unit_cfg* get_unit_ptr(const yax_cfg* doc, std::int32_t index) noexcept {
  return at_position(doc->unit_list, doc->unit_count, index);
}

chn_cfg* get_chn_ptr(const unit_cfg* unit, std::int32_t index) noexcept {
  return at_position(unit->chn_list, unit->chn_count, index);
}

}  // namespace ruvex
