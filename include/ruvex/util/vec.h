// Vec: a growing array of 32-bit values.
//
//   vec_ptr vec(vecNew(0));
//   if (vec == nullptr || vecAdd(vec.get(), 40001) < 0) return;  // out of memory
//   for (std::int32_t i = 0; i < vec->count; ++i) use(vecGet(vec.get(), i));
//
// It grows by 16 values at a time. The fields have 16 bits: growing above a size of 65535 is
// refused. Operations accept null where they say so. A Vec is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

// To be read by callers, and changed only through the operations.
struct Vec {
  std::uint16_t size;   // capacity in values
  std::uint16_t count;  // values held
  std::int32_t* items;  // `size` slots, owned
};

// An empty Vec with room for `n` values, 0 to 65535; 0 stands for 16. The caller releases it with
// vecDelete. Null, with nothing allocated, when memory runs out and for any other `n`.
Vec* vecNew(std::int32_t n) noexcept;

// Releases the Vec and its values. Null is accepted.
void vecDelete(Vec* vec) noexcept;

// Owns a Vec.
struct vec_delete {
  void operator()(Vec* vec) const noexcept { vecDelete(vec); }
};
using vec_ptr = std::unique_ptr<Vec, vec_delete>;

// Appends `value`. The result is its index; -1 when memory runs out or growing is refused, and the
// Vec stays as it was.
std::int32_t vecAdd(Vec* vec, std::int32_t value) noexcept;

// The value at `i`; 0 for an `i` that is negative or not below `count`.
std::int32_t vecGet(const Vec* vec, std::int32_t i) noexcept;

// Sets `count` to 0 and keeps the room. Null is accepted.
void vecReset(Vec* vec) noexcept;

}  // namespace ruvex
