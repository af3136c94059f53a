#include "ruvex/util/bar.h"

#include <cstddef>
#include <cstdlib>

#include "block.h"

namespace ruvex {

Bar* barNew() noexcept {
  return new_record<Bar>();
}

Bar* barNewC(std::int32_t n) noexcept {
  if (n < 0 || n > INT16_MAX) return nullptr;
  bar_ptr bar(barNew());
  if (bar == nullptr || n == 0) return bar.release();
  bar->data = static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(n), 1));
  if (bar->data == nullptr) return nullptr;
  bar->size = static_cast<std::int16_t>(n);
  return bar.release();
}

void barDelete(Bar* bar) noexcept {
  if (bar == nullptr) return;
  std::free(bar->data);
  std::free(bar);
}

}  // namespace ruvex
