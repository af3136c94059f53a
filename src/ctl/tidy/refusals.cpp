#include "refusals.h"

#include <cstdarg>
#include <cstdio>

namespace ruvex {

void refusals::add(const text_place& place, const char* format, ...) noexcept {
  if (shown_ != nullptr) shown_->hide();
  ++count_;
  std::fprintf(stderr, "%s:%zu:%zu: error: ", path_, place.line, place.column);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stderr, format, arguments);
  va_end(arguments);
  std::fputc('\n', stderr);
}

}  // namespace ruvex
