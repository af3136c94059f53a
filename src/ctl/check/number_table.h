// A table from numbers to values, for millions of them: open addressing in one block of memory,
// where a standard map takes a block and several cache misses for each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ruvex {

// Keys are any numbers but no_key; a value that nobody has set is value-initialised.
template <class Value>
class number_table {
 public:
  static constexpr std::uint64_t no_key = ~std::uint64_t{0};

  // The value of `key`, made if there is none. Valid until the next call.
  Value& operator[](std::uint64_t key) {
    if (2 * (used_ + 1) > slots_.size()) grow();
    slot& found = slot_of(key);
    if (found.key == no_key) {
      found.key = key;
      ++used_;
    }
    return found.value;
  }

  // The value of `key`; null when there is none. Valid until the next change.
  const Value* find(std::uint64_t key) const noexcept {
    if (slots_.empty()) return nullptr;
    const slot& found = const_cast<number_table*>(this)->slot_of(key);
    return found.key == no_key ? nullptr : &found.value;
  }

 private:
  struct slot {
    std::uint64_t key = no_key;
    Value value = {};
  };

  // Keys that lie close together come to lie far apart: an odd factor spreads the low bits upwards,
  // the shifts bring the high ones down.
  static std::size_t mixed(std::uint64_t key) noexcept {
    constexpr std::uint64_t golden = 0x9E3779B97F4A7C15;
    key = (key ^ (key >> 32)) * golden;
    return static_cast<std::size_t>(key ^ (key >> 32));
  }

  // The slot that has the key, or the free one where it belongs; one is free always.
  slot& slot_of(std::uint64_t key) noexcept {
    std::size_t at = mixed(key) & (slots_.size() - 1);
    while (slots_[at].key != key && slots_[at].key != no_key) at = (at + 1) & (slots_.size() - 1);
    return slots_[at];
  }

  void grow() {
    constexpr std::size_t least = 1024;
    std::vector<slot> old(slots_.empty() ? least : 2 * slots_.size());
    old.swap(slots_);
    for (slot& moved : old) {
      if (moved.key != no_key) slot_of(moved.key) = std::move(moved);
    }
  }

  std::vector<slot> slots_;  // a power of two of them, at most half in use
  std::size_t used_ = 0;
};

}  // namespace ruvex
