// Blocks from malloc, in which the containers keep themselves and their contents.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace ruvex {

// The deleter of a block that is owned as it is.
struct free_block {
  void operator()(void* block) const noexcept { std::free(block); }
};

// A record of zeros, to be released with free; null when memory has run out.
template <class Record>
Record* new_record() noexcept {
  return static_cast<Record*>(std::calloc(1, sizeof(Record)));
}

// Resizes a block, null included, to `bytes` (at least 1) and lets `block` point at where it stands
// now. False, with the block as it was, when memory has run out.
template <class Item>
bool resize_block(Item*& block, std::size_t bytes) noexcept {
  void* const resized = std::realloc(block, bytes);
  if (resized == nullptr) return false;
  block = static_cast<Item*>(resized);
  return true;
}

// Bytes that are to be copied into a block and may stand in that block themselves: they are found
// again when it has moved.
class copied_bytes {
 public:
  copied_bytes(const void* bytes, const void* block, std::size_t block_size) noexcept
      : bytes_(static_cast<const char*>(bytes)),
        offset_(reinterpret_cast<std::uintptr_t>(bytes) - reinterpret_cast<std::uintptr_t>(block)),
        in_block_(offset_ < block_size) {}

  // Where they are, the block now standing at `block`.
  const char* found(const void* block) const noexcept {
    return in_block_ ? static_cast<const char*>(block) + offset_ : bytes_;
  }

 private:
  const char* bytes_;
  std::uintptr_t offset_;
  bool in_block_;
};

}  // namespace ruvex
