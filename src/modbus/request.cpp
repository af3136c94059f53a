#include "ruvex/modbus/request.h"

#include "layout/functions.h"
#include "rtu.h"
#include "ruvex/modbus/frame.h"

namespace ruvex {
namespace {

// Whether `size`, the length that a frame says to have, is known and ends with the bytes there are.
bool ends_here(std::int32_t size, std::int32_t there) noexcept {
  return size == there && size != MOD_LEN_OPEN;
}

std::int32_t response_size(const std::uint8_t* response, std::int32_t count) noexcept {
  if (count <= function_at) return 0;
  const frame_length& length = response_length(response[function_at]);
  return count <= length.told_at ? 0 : length.of(response);
}

// Whether what stands in the buffer may still become a frame of known length, read as a request or
// as the answer of a neighbour.
bool is_under_way(const mod_ctx& ctx) noexcept {
  const auto goes_on = [&](std::int32_t size) {
    return size == 0 || (size > ctx.length && size != MOD_LEN_OPEN);
  };
  return goes_on(mod_requestLength(ctx.buffer, ctx.length)) ||
         goes_on(response_size(ctx.buffer, ctx.length));
}

// Drops the bytes in front of the first request that ends with the buffer; whether there is one.
template <class IsRequest>
bool find_request(mod_ctx& ctx, IsRequest is_request) noexcept {
  for (std::int32_t start = 0; start + rtu_shortest <= ctx.length; ++start) {
    const std::uint8_t* const frame = ctx.buffer + start;
    const std::int32_t there = ctx.length - start;
    if (!is_request(mod_requestLength(frame, there), there) || !is_rtu_frame(frame, there))
      continue;
    drop_front(ctx, start);
    return true;
  }
  return false;
}

// Leaves the receive state as a frame of this length does.
std::int32_t found(mod_ctx& ctx, std::int32_t size) noexcept {
  ctx.expected = static_cast<std::int16_t>(size);
  if (size != MOD_LEN_OPEN) ctx.length = size;
  return ctx.length;
}

// The frames of a line on which others answer as well.
//
// As long as one frame follows the other, each begins where the last one has ended, and nothing
// inside it is looked at: values may look like a request. Where the beginning is no frame, a
// request is taken wherever its length and its CRC fit.
std::int32_t receive_rtu_request(mod_ctx& ctx) noexcept {
  mod_rxReset(&ctx);
  bool is_in_step = true;
  bool is_whole = true;  // nothing of what has come was dropped for want of room
  for (std::uint8_t byte = 0; ctx.recv_fn(ctx.handle, &byte, 1) != -1;) {
    is_whole = is_whole && ctx.length < mod_buffer_size;
    append_sliding(ctx, byte);
    if (is_in_step) {
      const bool is_request = ends_here(mod_requestLength(ctx.buffer, ctx.length), ctx.length);
      const bool is_response = ends_here(response_size(ctx.buffer, ctx.length), ctx.length);
      const bool is_frame = (is_request || is_response) && is_rtu_frame(ctx.buffer, ctx.length);
      if (is_frame && is_request) return found(ctx, ctx.length);
      if (is_frame) mod_rxReset(&ctx);
      is_in_step = is_frame || is_under_way(ctx);
    }
    if (!is_in_step && find_request(ctx, ends_here)) return found(ctx, ctx.length);
  }
  // The silence ends what was under way, and a request of open length. It also ends one that is
  // whole but for its CRC, which the caller is to hear of.
  const auto may_end = [](std::int32_t told, std::int32_t there) {
    return told == there || told == MOD_LEN_OPEN;
  };
  if (find_request(ctx, may_end)) return found(ctx, mod_requestLength(ctx.buffer, ctx.length));
  const std::int32_t size = mod_requestLength(ctx.buffer, ctx.length);
  if (!is_whole || size == 0) return MOD_FAILED;
  if (size != MOD_LEN_OPEN && size > ctx.length) return MOD_FAILED;
  return found(ctx, size);
}

}  // namespace

std::int32_t mod_requestLength(const std::uint8_t* request, std::int32_t count) noexcept {
  if (count <= function_at) return 0;
  const frame_length& length = request_length(request[function_at]);
  return count <= length.told_at ? 0 : length.of(request);
}

std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept {
  return ctx->protocol == MOD_RTU ? receive_rtu_request(*ctx) : mod_waitPacket(ctx);
}

}  // namespace ruvex
