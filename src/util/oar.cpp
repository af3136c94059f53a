#include "ruvex/util/oar.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "block.h"

namespace ruvex {
namespace {

constexpr std::uint16_t step = 16;
constexpr std::int32_t slot_unit = 4;
constexpr std::int32_t largest_item = UINT16_MAX / slot_unit * slot_unit;

bool set_size(Oar& oar, std::size_t size) noexcept {
  if (size > UINT16_MAX || !resize_block(oar.items, size * oar.stride)) return false;
  oar.size = static_cast<std::uint16_t>(size);
  return true;
}

// False when it cannot be made.
bool has_free_slot(Oar& oar) noexcept {
  if (oar.count < oar.size) return true;
  return oar.grow > 0 && set_size(oar, std::size_t{oar.size} + oar.grow);
}

}  // namespace

Oar* oarNew(std::int32_t n, std::int32_t item_size) noexcept {
  if (n < 0 || item_size < 1 || item_size > largest_item) return nullptr;
  oar_ptr oar(new_record<Oar>());
  if (oar == nullptr) return nullptr;
  oar->grow = step;
  oar->item_size = static_cast<std::uint16_t>(item_size);
  oar->stride = static_cast<std::uint16_t>((item_size + slot_unit - 1) / slot_unit * slot_unit);
  return set_size(*oar, n == 0 ? step : static_cast<std::size_t>(n)) ? oar.release() : nullptr;
}

void oarDelete(Oar* oar) noexcept {
  if (oar == nullptr) return;
  std::free(oar->items);
  std::free(oar);
}

std::int32_t oarAdd(Oar* oar, const void* item) noexcept {
  if (oar == nullptr) return -1;
  const copied_bytes source(item, oar->items, std::size_t{oar->size} * oar->stride);
  if (!has_free_slot(*oar)) return -1;
  std::uint8_t* const slot = oar->items + std::size_t{oar->count} * oar->stride;
  std::memmove(slot, source.found(oar->items), oar->item_size);
  return oar->count++;
}

void* oarGet(const Oar* oar, std::int32_t i) noexcept {
  if (oar == nullptr || i < 0 || i >= oar->count) return nullptr;
  return oar->items + static_cast<std::size_t>(i) * oar->stride;
}

void oarReset(Oar* oar) noexcept {
  if (oar != nullptr) oar->count = 0;
}

}  // namespace ruvex
