// An array on the heap that grows and reports that it could not.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <type_traits>

namespace ruvex {

template <class Item>
class grown_block {
  static_assert(std::is_trivially_copyable_v<Item>);

 public:
  grown_block() noexcept = default;
  ~grown_block() { std::free(items_); }
  grown_block(const grown_block&) = delete;
  grown_block& operator=(const grown_block&) = delete;

  // Makes room for `count` items. False, with the items as they were, when memory has run out.
  bool make_room(std::size_t count) noexcept {
    if (count <= room_) return true;
    const std::size_t room = std::max(count, 2 * room_);
    void* items = std::realloc(items_, room * sizeof(Item));
    if (items == nullptr) return false;
    items_ = static_cast<Item*>(items);
    room_ = room;
    return true;
  }

  // Items for which room has been made. They move when more room is made.
  Item* data() noexcept { return items_; }
  Item& operator[](std::size_t at) noexcept { return items_[at]; }

 private:
  Item* items_ = nullptr;
  std::size_t room_ = 0;
};

}  // namespace ruvex
