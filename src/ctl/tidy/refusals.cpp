#include "refusals.h"

#include <cstdarg>
#include <string>

#include "report/place_message.h"
#include "text/texts.h"

namespace ruvex {
namespace {

constexpr const char* defect_messages[] = {
    "",  // none
    "this quote is not closed",
    "text behind a closing quote",
    "more cells than a row of a spreadsheet has",
};

}  // namespace

void refusals::add(const text_place& place, const char* format, ...) noexcept {
  if (shown_ != nullptr) shown_->hide();
  ++count_;
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  print_message({path_, place.line, place.line, place.column, "error", text});
}

bool refuse_defects(const std::vector<cell>& row, refusals& refused) noexcept {
  const std::size_t refused_before = refused.count();
  for (const cell& cell : row) {
    if (cell.defect == cell_defect::none) continue;
    refused.add(cell.defect_place, "%s", defect_messages[static_cast<std::size_t>(cell.defect)]);
  }
  return refused.count() != refused_before;
}

}  // namespace ruvex
