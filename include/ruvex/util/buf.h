// Buf: a text buffer of a fixed capacity. With a stream it passes its content on to that stream
// whenever it is full, so that a long output is collected and written in pieces; without one it
// holds the latest text.
//
//   buf_ptr buf(bufNew(4096));
//   buf->stream = stdout;
//   for (const char* line : lines) bufAdd(buf.get(), line);
//   bufFlush(buf.get());
//
// A trap ends the program: one line on standard error, then abort. These trap:
//   Buf: null buffer     any operation on null
//   Buf: out of memory   bufNew
//   Buf: overflow        more than fits, without a stream, while `trap` is set
//
// Errors in writing to the stream are not detected; ferror tells of them. A buffer is used by one
// thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace ruvex {

struct Buf {
  std::int32_t size;  // capacity in characters
  std::int32_t len;   // characters held
  std::FILE* stream;  // set by the user, who also closes it; null at the start
  std::uint8_t trap;  // 0: an overflow gives -1. Otherwise, as at the start, it traps
  char data[1];       // the content and its NUL; `size` + 1 characters, whatever is declared
};

// Bytes of a buffer of `size` characters.
constexpr std::size_t bufBytes(std::int32_t size) noexcept {
  return sizeof(Buf) + static_cast<std::size_t>(size);
}

// An empty buffer for `size` characters (0 or more), in one block from malloc. The caller releases
// it with free, which does not flush it. Null for a negative size.
Buf* bufNew(std::int32_t size) noexcept;

// Owns a buffer of bufNew.
struct buf_free {
  void operator()(Buf* buf) const noexcept { std::free(buf); }
};
using buf_ptr = std::unique_ptr<Buf, buf_free>;

// Makes an empty buffer for `size` characters (a negative one counts as 0) in memory of the caller,
// bufBytes(size) long and aligned as a Buf.
void bufNewStatic(Buf* buf, std::int32_t size) noexcept;

// Without a stream: `text` becomes the content. With a stream: `text` is appended; where it does
// not fit, what the buffer holds is written out (no NUL) and `text` becomes the content. A text
// fits when less than `size` characters are held afterwards. `text` may stand in the buffer itself.
//
// The result is the new `len`. A text of `size` characters or more never fits: with a stream it is
// written to the stream after what was held, and the result is 0; without one the buffer is
// emptied, and the result is -1 or a trap.
std::int32_t bufAdd(Buf* buf, const char* text) noexcept;

// Appends a character, with a stream and without. When the buffer is full (`len` is `size`) and has
// a stream, the content is written out and `c` becomes the content; where `size` is 0, `c` is
// written, too. The result is the new `len`. When the buffer is full and has no stream: -1, with
// nothing changed, or a trap.
std::int32_t bufAddC(Buf* buf, char c) noexcept;

// Writes the content to the stream and empties the buffer. The result is the number of characters
// that the stream took; 0, with nothing changed, where the buffer is empty or has no stream.
std::int32_t bufFlush(Buf* buf) noexcept;

// Empties the buffer, writing nothing: 0.
std::int32_t bufClr(Buf* buf) noexcept;

// Without a stream the content; with one the end of the content, an empty text. The result points
// into the buffer.
char* bufGet(Buf* buf) noexcept;

// What an overflow does: -1 where `trap` is 0, otherwise a trap.
std::int32_t bufTrap(Buf* buf) noexcept;

}  // namespace ruvex
