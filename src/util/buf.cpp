#include "ruvex/util/buf.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace ruvex {
namespace {

[[noreturn]] void stop(const char* reason) noexcept {
  std::fprintf(stderr, "Buf: %s\n", reason);
  std::abort();
}

Buf& existing(Buf* buf) noexcept {
  if (buf == nullptr) stop("null buffer");
  return *buf;
}

std::size_t held(const Buf& buf) noexcept {
  return static_cast<std::size_t>(buf.len);
}

void end_at(Buf& buf, std::size_t len) noexcept {
  buf.len = static_cast<std::int32_t>(len);
  buf.data[len] = '\0';
}

// Adds what fits while at most `most` characters are held then.
std::int32_t add(Buf& buf, const char* text, std::size_t length, std::int32_t most) noexcept {
  if (std::cmp_greater(length, most - buf.len)) {
    if (buf.stream == nullptr) {
      end_at(buf, held(buf));  // bufAdd has given up the former text
      return bufTrap(&buf);
    }
    std::fwrite(buf.data, 1, held(buf), buf.stream);
    buf.len = 0;
    if (std::cmp_greater(length, most)) {
      std::fwrite(text, 1, length, buf.stream);
      length = 0;
    }
  }
  std::memmove(buf.data + held(buf), text, length);
  end_at(buf, held(buf) + length);
  return buf.len;
}

}  // namespace

Buf* bufNew(std::int32_t size) noexcept {
  if (size < 0) return nullptr;
  auto* const buf = static_cast<Buf*>(std::malloc(bufBytes(size)));
  if (buf == nullptr) stop("out of memory");
  bufNewStatic(buf, size);
  return buf;
}

void bufNewStatic(Buf* buf, std::int32_t size) noexcept {
  Buf& made = existing(buf);
  made.size = std::max(size, 0);
  made.stream = nullptr;
  made.trap = 1;
  end_at(made, 0);
}

std::int32_t bufAdd(Buf* buf, const char* text) noexcept {
  Buf& to = existing(buf);
  const std::size_t length = std::strlen(text);
  if (to.stream == nullptr) to.len = 0;  // the NUL comes later: `text` may stand in the buffer
  return add(to, text, length, to.size - 1);
}

std::int32_t bufAddC(Buf* buf, char c) noexcept {
  Buf& to = existing(buf);
  return add(to, &c, 1, to.size);
}

std::int32_t bufFlush(Buf* buf) noexcept {
  Buf& from = existing(buf);
  if (from.len == 0 || from.stream == nullptr) return 0;
  const std::size_t written = std::fwrite(from.data, 1, held(from), from.stream);
  end_at(from, 0);
  return static_cast<std::int32_t>(written);
}

std::int32_t bufClr(Buf* buf) noexcept {
  end_at(existing(buf), 0);
  return 0;
}

char* bufGet(Buf* buf) noexcept {
  Buf& of = existing(buf);
  return of.stream == nullptr ? of.data : of.data + held(of);
}

std::int32_t bufTrap(Buf* buf) noexcept {
  if (existing(buf).trap != 0) stop("overflow");
  return -1;
}

}  // namespace ruvex
