// Str: a text that grows.
//
//   str_ptr str(strNewS("unit"));
//   if (str == nullptr || strAdd(str.get(), " 12") < 0) return;  // out of memory
//   std::puts(strGetText(str.get()));
//
// The block of a text has the size that strNewN gives it, or the smallest multiple of 16 above the
// length + 1. It grows when a text and its NUL do not fit, and never shrinks. The fields have 16
// bits: a text that would need a block of more than 32767 bytes is refused. So a text grows up to
// 32750 characters; up to 32766 in a block that strNewN made of 32767 bytes.
//
// A text that an operation takes may stand in the Str itself. Operations accept null where they say
// so. A Str is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

namespace ruvex {

// To be read by callers, and changed only through the operations.
struct Str {
  std::int16_t size;  // bytes of the block
  std::int16_t len;   // characters of the text
  char* text;         // NUL-terminated, owned; null as long as there is no block
};

// Make a Str, which the caller releases with strDelete. Null when memory runs out, or for what is
// refused; then nothing is allocated.
Str* strNew() noexcept;                   // all fields 0, no text
Str* strNewN(std::int32_t n) noexcept;    // empty text in a block of `n` bytes, 0 to 32767; 0: as
                                          // strNew. Any other `n` is refused
Str* strNewS(const char* text) noexcept;  // a copy of `text`

// Releases the Str and its text. Null is accepted.
void strDelete(Str* str) noexcept;

// Owns a Str.
struct str_delete {
  void operator()(Str* str) const noexcept { strDelete(str); }
};
using str_ptr = std::unique_ptr<Str, str_delete>;

// Replace the text by `text`; append `text`; append the first `src->len` characters of `src`, whose
// text is cut there. The result is the new `len`; -1 when memory runs out or the text is refused,
// and the text stays as it was. `dst` and `src` may be the same; a `src` without a text is empty.
std::int32_t strSetText(Str* str, const char* text) noexcept;
std::int32_t strAdd(Str* str, const char* text) noexcept;
std::int32_t strAddS(Str* dst, Str* src) noexcept;

// Makes the text empty and keeps its block.
void strReset(Str* str) noexcept;

// The text, valid until the Str is changed or released; null where there is none.
char* strGetText(const Str* str) noexcept;

// Looks for `key` by halving among `n` texts, which ascend in the order of their bytes (strcmp).
// The result is the index of an equal text; of any, where several are equal; -1 where none is.
std::int32_t strSearch(const char* key, const char* const* texts, std::int32_t n) noexcept;

}  // namespace ruvex
