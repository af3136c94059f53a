#include "line_breaks.h"

#include <algorithm>

namespace ruvex {

void count_line_breaks(SimpleXmlParser* parser) noexcept {
  const char* const end = parser->inputData + parser->inputLength;
  const char* const stop =
      parser->inputData + std::clamp(parser->inputPosition, 0, parser->inputLength);
  const char* at = parser->inputData + parser->linePosition;
  if (at >= stop) return;
  std::int32_t breaks = 0;
  for (; at != stop; ++at) {
    const bool lone_return = *at == '\r' && at + 1 != end && at[1] != '\n';
    breaks += static_cast<std::int32_t>(*at == '\n' || lone_return);
  }
  parser->lineBreaks += breaks;
  parser->linePosition = static_cast<std::int32_t>(stop - parser->inputData);
}

}  // namespace ruvex
