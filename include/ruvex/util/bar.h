// Bar: an array of up to 32767 bytes, as base64 (util/base64.h) produces and consumes it. The
// fields are the interface: `data` holds the bytes, up to `size` of them, and `len` says how many
// there are.
//
//   bar_ptr bar(barNewC(3));
//   if (bar == nullptr) return;  // out of memory
//   std::memcpy(bar->data, "\x01\x00\xff", 3);
//   bar->len = 3;
//
// A Bar is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

struct Bar {
  std::int16_t size;   // capacity in bytes
  std::int16_t len;    // bytes held, 0 to `size`
  std::uint8_t* data;  // owned; null where `size` is 0
};

// Make a Bar, which the caller releases with barDelete. Null when memory runs out, or for what is
// refused; then nothing is allocated.
Bar* barNew() noexcept;                 // all fields 0, no data
Bar* barNewC(std::int32_t n) noexcept;  // `size` is `n`, 0 to 32767, `len` is 0, and the data are
                                        // `n` bytes of zero; 0: as barNew. Any other `n` is refused

// Releases the Bar and its data. Null is accepted.
void barDelete(Bar* bar) noexcept;

// Owns a Bar.
struct bar_delete {
  void operator()(Bar* bar) const noexcept { barDelete(bar); }
};
using bar_ptr = std::unique_ptr<Bar, bar_delete>;

}  // namespace ruvex
