// Oar: a growing array of objects of one size, which are copied in byte by byte.
//
//   oar_ptr oar(oarNew(0, sizeof(point)));
//   if (oar == nullptr || oarAdd(oar.get(), &here) < 0) return;  // out of memory
//   point first;
//   std::memcpy(&first, oarGet(oar.get(), 0), sizeof first);
//
// Each object has a slot. The size of a slot is that of an object, rounded up to a multiple of 4,
// so slots suit objects with an alignment of 4 at most. The array grows by `grow` slots at a time.
// The fields have 16 bits: growing above a size of 65535 is refused.
//
// Null is accepted by every operation. An Oar is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

// To be read by callers, and changed only through the operations.
struct Oar {
  std::uint16_t size;       // capacity in objects
  std::uint16_t count;      // objects held
  std::uint16_t grow;       // 16
  std::uint16_t item_size;  // bytes of an object
  std::uint16_t stride;     // bytes of a slot
  std::uint8_t* items;      // `size` slots, owned
};

// An empty Oar with room for `n` objects, 0 to 65535 (0 stands for 16), of `item_size` bytes, 1 to
// 65532. The caller releases it with oarDelete. Null, with nothing allocated, when memory runs out
// and for any other argument.
Oar* oarNew(std::int32_t n, std::int32_t item_size) noexcept;

// Releases the Oar and its objects.
void oarDelete(Oar* oar) noexcept;

// Owns an Oar.
struct oar_delete {
  void operator()(Oar* oar) const noexcept { oarDelete(oar); }
};
using oar_ptr = std::unique_ptr<Oar, oar_delete>;

// Copies the `item_size` bytes at `item`, which may stand in the Oar itself, into a new slot at the
// end. The result is its index; -1 for a null Oar, when memory runs out and when growing is
// refused: the Oar stays as it was.
std::int32_t oarAdd(Oar* oar, const void* item) noexcept;

// The slot at `i`, valid until the next oarAdd; null for a null Oar and for an `i` that is negative
// or not below `count`.
void* oarGet(const Oar* oar, std::int32_t i) noexcept;

// Sets `count` to 0 and keeps the room.
void oarReset(Oar* oar) noexcept;

}  // namespace ruvex
