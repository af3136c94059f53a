#include "ruvex/util/sar.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "block.h"

namespace ruvex {
namespace {

constexpr std::uint16_t sar_step = 256;
constexpr std::size_t offset_size = sizeof(std::uint16_t);

std::uint16_t get_offset(const Sar& sar, std::size_t i) noexcept {
  std::uint16_t offset;
  std::memcpy(&offset, sar.block + offset_size * i, offset_size);
  return offset;
}

void set_offset(Sar& sar, std::size_t i, std::size_t offset) noexcept {
  const auto stored = static_cast<std::uint16_t>(offset);
  std::memcpy(sar.block + offset_size * i, &stored, offset_size);
}

char* text_at(const Sar& sar, std::size_t i) noexcept {
  return sar.block + (sar.size - 1 - get_offset(sar, i));
}

// Grows the block until it is larger than `need`. `text`, which may stand among the texts, is then
// where the result says; null, with everything as it was, where there is no room.
const char* make_room(Sar& sar, std::size_t need, const char* text) noexcept {
  const std::size_t former_size = sar.size;
  const copied_bytes source(text, sar.block, former_size);
  if (need > UINT16_MAX) return nullptr;
  if (sarResizeData(&sar, static_cast<std::int32_t>(need)) != 0) return nullptr;
  return source.found(sar.block + (sar.size - former_size));
}

// Makes text `i` longer by `added` bytes, which lie before it, by moving all texts below. The
// result is that of make_room.
const char* widen(Sar& sar, std::size_t i, std::size_t added, const char* text) noexcept {
  text = make_room(sar, offset_size * sar.count + sar.used + added, text);
  if (text == nullptr) return nullptr;
  char* const lowest = sar.block + (sar.size - sar.used);
  const auto below = static_cast<std::size_t>(text_at(sar, i) - lowest);
  const copied_bytes source(text, lowest, below);
  std::memmove(lowest - added, lowest, below);
  for (std::size_t at = i; at < sar.count; ++at) set_offset(sar, at, get_offset(sar, at) + added);
  sar.used = static_cast<std::uint16_t>(sar.used + added);
  return source.found(lowest - added);
}

}  // namespace

Sar* sarNew(std::int32_t n, bool unique) noexcept {
  if (n < 0 || n > UINT16_MAX) return nullptr;
  sar_ptr sar(new_record<Sar>());
  if (sar == nullptr) return nullptr;
  sar->unique = unique ? 1 : 0;
  sar->size = n == 0 ? sar_step : static_cast<std::uint16_t>(n);
  sar->grow = sar_step;
  return resize_block(sar->block, sar->size) ? sar.release() : nullptr;
}

void sarDelete(Sar* sar) noexcept {
  if (sar == nullptr) return;
  std::free(sar->block);
  std::free(sar);
}

std::int32_t sarAdd(Sar* sar, const char* text) noexcept {
  if (sar == nullptr) return -1;
  for (std::size_t i = 0; sar->unique != 0 && i < sar->count; ++i) {
    if (std::strcmp(text_at(*sar, i), text) == 0) return static_cast<std::int32_t>(i);
  }
  const std::size_t used = sar->used + std::strlen(text) + 1;
  text = make_room(*sar, used + offset_size * (sar->count + std::size_t{1}), text);
  if (text == nullptr) return -1;
  std::memcpy(sar->block + (sar->size - used), text, used - sar->used);
  sar->used = static_cast<std::uint16_t>(used);
  set_offset(*sar, sar->count, used - 1);
  return sar->count++;
}

std::int32_t sarSet(Sar* sar, std::int32_t i, const char* text) noexcept {
  const char* const present = sarGet(sar, i);
  if (present == nullptr) return -1;
  const auto at = static_cast<std::size_t>(i);
  const std::size_t length = std::strlen(text);
  const std::size_t room = std::strlen(present);
  if (length > room) text = widen(*sar, at, length - room, text);
  if (text == nullptr) return -1;
  std::memmove(text_at(*sar, at), text, length + 1);
  return i;
}

const char* sarGet(const Sar* sar, std::int32_t i) noexcept {
  if (sar == nullptr || i < 0 || i >= sar->count) return nullptr;
  return text_at(*sar, static_cast<std::size_t>(i));
}

void sarReset(Sar* sar) noexcept {
  if (sar == nullptr) return;
  sar->count = 0;
  sar->used = 0;
}

std::int32_t sarResizeData(Sar* sar, std::int32_t need) noexcept {
  if (sar == nullptr) return -1;
  if (sar->size > need) return 0;
  if (sar->grow == 0) return -1;
  const std::size_t former = sar->size;
  const std::size_t steps = (static_cast<std::size_t>(need) - former) / sar->grow + 1;
  const std::size_t size = former + steps * sar->grow;
  if (size > UINT16_MAX || !resize_block(sar->block, size)) return -1;
  std::memmove(sar->block + (size - sar->used), sar->block + (former - sar->used), sar->used);
  sar->size = static_cast<std::uint16_t>(size);
  return 0;
}

}  // namespace ruvex
