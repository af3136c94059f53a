#include "ruvex/modbus/frame.h"

#include "framing.h"

namespace ruvex {

void mod_init(mod_ctx* ctx, std::uint8_t protocol, void* handle, mod_recv_fn recv_fn,
              mod_send_fn send_fn) noexcept {
  ctx->protocol = protocol;
  ctx->handle = handle;
  ctx->recv_fn = recv_fn;
  ctx->send_fn = send_fn;
  ctx->length = 0;
  ctx->last_char = 0;
}

void mod_rxReset(mod_ctx* ctx) noexcept {
  ctx->expected = 0;
  ctx->last_char = 0;
  ctx->length = 0;
}

std::int32_t mod_rxChar(mod_ctx* ctx, std::uint8_t character) noexcept {
  if (ctx->length < 0 || ctx->length >= mod_buffer_size) return 0;
  ctx->buffer[ctx->length++] = character;
  const framing* row = find_framing(ctx->protocol);
  if (row != nullptr && row->completes(*ctx, character)) return ctx->length;
  return 0;
}

std::int32_t mod_waitPacket(mod_ctx* ctx) noexcept {
  mod_rxReset(ctx);
  std::uint8_t character = 0;
  while (ctx->recv_fn(ctx->handle, &character, 1) != -1) {
    if (ctx->length == mod_buffer_size) return MOD_FAILED;
    if (mod_rxChar(ctx, character) != 0) return ctx->length;
  }
  const bool is_open = ctx->protocol == MOD_RTU && ctx->expected == MOD_LEN_OPEN;
  return is_open ? ctx->length : MOD_FAILED;
}

std::int32_t mod_binToTx(std::uint8_t protocol, std::int32_t length, const std::uint8_t* message,
                         std::uint8_t* output) noexcept {
  const framing* row = find_framing(protocol);
  if (row == nullptr || length < 0 || length > mod_buffer_size) return 0;
  const auto count = static_cast<std::size_t>(length);
  const std::size_t framed = row->framed_length(message, count);
  if (framed > mod_buffer_size) return 0;
  byte_writer out(output, framed);
  row->frame({message, count}, out);
  return static_cast<std::int32_t>(framed);
}

std::int16_t mod_rxToBin(std::uint8_t protocol, std::int32_t length, const std::uint8_t* frame,
                         std::uint8_t* output) noexcept {
  const framing* row = find_framing(protocol);
  if (row == nullptr) return 0;
  if (length < 0 || length > mod_buffer_size) return MOD_CORRUPT_FRAME;
  return static_cast<std::int16_t>(row->unframe(frame, static_cast<std::size_t>(length), output));
}

}  // namespace ruvex
