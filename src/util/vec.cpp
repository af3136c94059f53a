#include "ruvex/util/vec.h"

#include <cstddef>
#include <cstdlib>

#include "block.h"

namespace ruvex {
namespace {

constexpr std::size_t vec_step = 16;

bool set_size(Vec& vec, std::size_t size) noexcept {
  if (size > UINT16_MAX || !resize_block(vec.items, size * sizeof *vec.items)) return false;
  vec.size = static_cast<std::uint16_t>(size);
  return true;
}

}  // namespace

Vec* vecNew(std::int32_t n) noexcept {
  if (n < 0) return nullptr;
  vec_ptr vec(new_record<Vec>());
  const std::size_t size = n == 0 ? vec_step : static_cast<std::size_t>(n);
  return vec == nullptr || !set_size(*vec, size) ? nullptr : vec.release();
}

void vecDelete(Vec* vec) noexcept {
  if (vec == nullptr) return;
  std::free(vec->items);
  std::free(vec);
}

std::int32_t vecAdd(Vec* vec, std::int32_t value) noexcept {
  if (vec->count == vec->size && !set_size(*vec, vec->size + vec_step)) return -1;
  vec->items[vec->count] = value;
  return vec->count++;
}

std::int32_t vecGet(const Vec* vec, std::int32_t i) noexcept {
  return i < 0 || i >= vec->count ? 0 : vec->items[i];
}

void vecReset(Vec* vec) noexcept {
  if (vec != nullptr) vec->count = 0;
}

}  // namespace ruvex
