#include "ruvex/util/str.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "block.h"

namespace ruvex {
namespace {

constexpr std::size_t str_step = 16;

bool make_room(Str& str, std::size_t length) noexcept {
  if (length < static_cast<std::size_t>(str.size)) return true;
  const std::size_t size = (length + 1) / str_step * str_step + str_step;
  if (size > INT16_MAX || !resize_block(str.text, size)) return false;
  str.size = static_cast<std::int16_t>(size);
  return true;
}

// The text keeps its first `kept` characters, and `text` follows.
std::int32_t put(Str& str, std::size_t kept, const char* text) noexcept {
  const std::size_t added = std::strlen(text);
  const copied_bytes source(text, str.text, static_cast<std::size_t>(str.size));
  if (!make_room(str, kept + added)) return -1;
  std::memmove(str.text + kept, source.found(str.text), added);
  str.text[kept + added] = '\0';
  str.len = static_cast<std::int16_t>(kept + added);
  return str.len;
}

}  // namespace

Str* strNew() noexcept {
  return new_record<Str>();
}

Str* strNewN(std::int32_t n) noexcept {
  if (n < 0 || n > INT16_MAX) return nullptr;
  str_ptr str(strNew());
  if (str == nullptr || n == 0) return str.release();
  if (!resize_block(str->text, static_cast<std::size_t>(n))) return nullptr;
  str->size = static_cast<std::int16_t>(n);
  str->text[0] = '\0';
  return str.release();
}

Str* strNewS(const char* text) noexcept {
  str_ptr str(strNew());
  return str == nullptr || strSetText(str.get(), text) < 0 ? nullptr : str.release();
}

void strDelete(Str* str) noexcept {
  if (str == nullptr) return;
  std::free(str->text);
  std::free(str);
}

std::int32_t strSetText(Str* str, const char* text) noexcept {
  return put(*str, 0, text);
}

std::int32_t strAdd(Str* str, const char* text) noexcept {
  return put(*str, static_cast<std::size_t>(str->len), text);
}

std::int32_t strAddS(Str* dst, Str* src) noexcept {
  if (src->text == nullptr) return strAdd(dst, "");
  src->text[src->len] = '\0';
  return strAdd(dst, src->text);
}

void strReset(Str* str) noexcept {
  str->len = 0;
  if (str->text != nullptr) str->text[0] = '\0';
}

char* strGetText(const Str* str) noexcept {
  return str->text;
}

std::int32_t strSearch(const char* key, const char* const* texts, std::int32_t n) noexcept {
  std::int32_t low = 0;
  for (std::int32_t remaining = n; remaining > 0;) {
    const std::int32_t middle = low + remaining / 2;
    const int order = std::strcmp(key, texts[middle]);
    if (order == 0) return middle;
    if (order > 0) {
      low = middle + 1;
      --remaining;
    }
    remaining /= 2;
  }
  return -1;
}

}  // namespace ruvex
