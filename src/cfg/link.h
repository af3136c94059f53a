// Linking a record into a list by position, the same for units and for channels.
#pragma once

#include <cstdint>

#include "ruvex/cfg/records.h"

namespace ruvex {

// Links `record` after position `pos` of the list that starts at `head` and counts `count` records.
// Position 0 of an empty list makes it the head. Returns the record, now the list's own; null, and
// the record is released and the list unchanged, when there is no such position or no room to
// count.
// `Pointer` is a unique_ptr that owns the record with what belongs to it.
template <class Record, class Pointer>
Record* link_after(Pointer record, Record*& head, std::int16_t& count, std::int32_t pos) noexcept {
  if (count == max_list_count) return nullptr;
  if (count == 0) {
    if (pos != 0) return nullptr;
    head = record.get();
  } else {
    if (pos >= count) return nullptr;
    Record* anchor = head;
    for (; pos > 0; --pos) anchor = anchor->next;
    record->prev = anchor;
    record->next = anchor->next;
    if (anchor->next != nullptr) anchor->next->prev = record.get();
    anchor->next = record.get();
  }
  ++count;
  return record.release();
}

}  // namespace ruvex
