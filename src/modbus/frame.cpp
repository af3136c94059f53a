#include "ruvex/modbus/frame.h"

#include "framing.h"

namespace ruvex {
namespace {

// Stores a character where there is room. Whether it completes the frame. The length is the
// caller's to change as well, so nothing is taken for granted about it.
bool take(mod_ctx& ctx, std::uint8_t character, end_rule ends) noexcept {
  if (ctx.length < 0 || ctx.length >= mod_buffer_size) return false;
  ctx.buffer[ctx.length++] = character;
  return ends(ctx, character);
}

}  // namespace

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
  return take(*ctx, character, framing_of(ctx->protocol).ends) ? ctx->length : 0;
}

// One byte at a time: what comes after the frame belongs to the next one, and a context has no
// place to keep it.
std::int32_t mod_waitPacket(mod_ctx* ctx) noexcept {
  mod_rxReset(ctx);
  const framing& row = framing_of(ctx->protocol);
  std::uint8_t character = 0;
  while (ctx->recv_fn(ctx->handle, &character, 1) != -1) {
    if (ctx->length == mod_buffer_size) return MOD_FAILED;
    if (take(*ctx, character, row.ends)) return ctx->length;
  }
  return ctx->expected == MOD_LEN_OPEN && row.may_be_open ? ctx->length : MOD_FAILED;
}

std::int32_t mod_binToTx(std::uint8_t protocol, std::int32_t length, const std::uint8_t* message,
                         std::uint8_t* output) noexcept {
  if (length < 0 || length > mod_buffer_size) return 0;
  const framing& row = framing_of(protocol);
  const auto count = static_cast<std::size_t>(length);
  const std::size_t framed = row.framed_length(message, count);
  if (framed > mod_buffer_size) return 0;
  byte_writer out(output, framed);
  row.frame({message, count}, out);
  return static_cast<std::int32_t>(framed);
}

std::int16_t mod_rxToBin(std::uint8_t protocol, std::int32_t length, const std::uint8_t* frame,
                         std::uint8_t* output) noexcept {
  const framing& row = framing_of(protocol);
  if (&row == &unknown_framing) return 0;  // before the length: it has no frames to be corrupt
  if (length < 0 || length > mod_buffer_size) return MOD_CORRUPT_FRAME;
  return static_cast<std::int16_t>(row.unframe(frame, static_cast<std::size_t>(length), output));
}

}  // namespace ruvex
