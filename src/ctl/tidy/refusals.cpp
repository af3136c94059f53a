#include "refusals.h"

#include <cstdarg>
#include <string>

#include "report/place_message.h"
#include "text/texts.h"

namespace ruvex {

void refusals::add(const text_place& place, const char* format, ...) noexcept {
  if (shown_ != nullptr) shown_->hide();
  ++count_;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  print_message({path_, place.line, place.line, place.column, "error", text});
}

}  // namespace ruvex
