#include "rtu.h"

#include <cstddef>
#include <cstring>

#include "crc16.h"

namespace ruvex {

bool is_rtu_frame(const std::uint8_t* frame, std::int32_t length) noexcept {
  if (length < rtu_shortest) return false;
  const std::int32_t count = length - rtu_crc_size;
  const int received = frame[count] + 256 * frame[count + 1];
  return crc16(frame, static_cast<std::uint16_t>(count)) == received;
}

void append_sliding(mod_ctx& ctx, std::uint8_t byte) noexcept {
  if (ctx.length == mod_buffer_size) drop_front(ctx, mod_buffer_size / 2);
  ctx.buffer[ctx.length++] = byte;
}

void drop_front(mod_ctx& ctx, std::int32_t start) noexcept {
  ctx.length -= start;
  std::memmove(ctx.buffer, ctx.buffer + start, static_cast<std::size_t>(ctx.length));
}

}  // namespace ruvex
