// Sar: an array of texts in a single block of memory.
//
//   sar_ptr sar(sarNew(0, true));
//   if (sar == nullptr || sarAdd(sar.get(), "BOILER-01") < 0) return;  // out of memory
//   std::puts(sarGet(sar.get(), 0));
//
// The block begins with a table of 16-bit offsets in the machine's byte order, one per text in the
// order of their indices. The texts fill it from the last byte downwards, each followed by its NUL
// and each new one below the others. An offset counts from the end of the block: text i begins at
// byte `size` - 1 - offset(i). So it stays the same when the block grows and the texts move to the
// new end.
//
//   | table: 2 * count bytes | free | text 2 | text 1 | text 0 |
//
// Room is made when table and texts would fill the block, `grow` bytes at a time. The fields have
// 16 bits: what needs a block above 65535 bytes is refused.
//
// A text that an operation takes may stand in the Sar itself. Null is accepted by every operation.
// A Sar is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

// To be read by callers, and changed only through the operations; `grow` and `unique` may be set.
struct Sar {
  std::uint8_t unique;  // not 0: a text that is already there is not added again
  std::uint16_t count;  // texts held
  std::uint16_t size;   // bytes of the block
  std::uint16_t used;   // bytes of texts at the end of the block, their NULs included
  std::uint16_t grow;   // 256; 0: the block does not grow
  char* block;          // owned
};

// An empty Sar with a block of `n` bytes, 0 to 65535; 0 stands for 256. The caller releases it with
// sarDelete. Null, with nothing allocated, when memory runs out and for any other `n`.
Sar* sarNew(std::int32_t n, bool unique) noexcept;

// Releases the Sar and its texts.
void sarDelete(Sar* sar) noexcept;

// Owns a Sar.
struct sar_delete {
  void operator()(Sar* sar) const noexcept { sarDelete(sar); }
};
using sar_ptr = std::unique_ptr<Sar, sar_delete>;

// Adds a copy of `text`. The result is its index. With `unique` set, and a text that is equal: the
// index of the first such text, and nothing is added; the search looks at every text. -1 for a null
// Sar, when memory runs out and when the block would become too large; the texts stay as they were.
std::int32_t sarAdd(Sar* sar, const char* text) noexcept;

// Replaces text `i`, whatever `unique` says. A text that is not longer than the present one takes
// its place, and the rest of that place stays unused until sarReset. The result is `i`; -1 for a
// null Sar, an `i` outside 0 to `count` - 1, when memory runs out and when the block would become
// too large; the texts stay as they were.
std::int32_t sarSet(Sar* sar, std::int32_t i, const char* text) noexcept;

// Text `i`, valid until the next sarAdd, sarSet or sarResizeData; null for a null Sar and an `i`
// outside 0 to `count` - 1.
const char* sarGet(const Sar* sar, std::int32_t i) noexcept;

// Removes all texts and keeps the block.
void sarReset(Sar* sar) noexcept;

// Makes the block larger than `need` bytes, in steps of `grow`: 0, also where it is larger already
// and stays as it is. -1, with everything as it was, for a null Sar, when memory runs out and when
// the block would become too large.
std::int32_t sarResizeData(Sar* sar, std::int32_t need) noexcept;

}  // namespace ruvex
