#include "ruvex/modbus/request.h"

#include "ruvex/modbus/frame.h"

namespace ruvex {

std::int32_t mod_requestLength(const std::uint8_t* request, std::int32_t count) noexcept {
  constexpr std::int32_t fixed_length = 8;  // address, function, reference, quantity or value, CRC
  constexpr std::int32_t byte_count_at = 6;
  if (count < 2) return 0;
  switch (request[1]) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
      return fixed_length;
    case 15:
    case 16:
      return count <= byte_count_at ? 0 : fixed_length + 1 + request[byte_count_at];
    default:
      return MOD_LEN_OPEN;
  }
}

std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept {
  if (ctx->protocol != MOD_RTU) return mod_waitPacket(ctx);
  mod_rxReset(ctx);
  std::uint8_t character = 0;
  std::int32_t expected = 0;
  while (ctx->recv_fn(ctx->handle, &character, 1) != -1) {
    if (ctx->length == mod_buffer_size) return MOD_FAILED;
    mod_rxChar(ctx, character);
    expected = mod_requestLength(ctx->buffer, ctx->length);
    if (expected == ctx->length) return ctx->length;
  }
  return expected == MOD_LEN_OPEN ? ctx->length : MOD_FAILED;
}

}  // namespace ruvex
