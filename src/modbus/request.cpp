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

// The search for a request on a line on which others answer as well.
//
// As long as one frame follows the other, each begins where the last one has ended, and nothing
// inside it is looked at: values may look like a request. Where the beginning is no frame, a
// request is taken wherever its length and its CRC fit.
class request_search {
 public:
  explicit request_search(mod_ctx& ctx) noexcept : ctx_(ctx) { mod_rxReset(&ctx); }

  // Takes a byte; whether it completes a request.
  bool take(std::uint8_t byte) noexcept {
    is_whole_ = is_whole_ && ctx_.length < mod_buffer_size;
    append_sliding(ctx_, byte);
    if (is_in_step_ && take_in_step()) return true;
    return !is_in_step_ && find_request(ctx_, ends_here);
  }

  // The silence ends what was under way, and a request of open length. It also ends one that is
  // whole but for its CRC, which the caller is to hear of. The length, or MOD_FAILED.
  std::int32_t end() noexcept {
    const auto may_end = [](std::int32_t told, std::int32_t there) {
      return told == there || told == MOD_LEN_OPEN;
    };
    const bool is_found = find_request(ctx_, may_end);
    const std::int32_t size = mod_requestLength(ctx_.buffer, ctx_.length);
    if (is_found) return found(ctx_, size);
    const bool is_complete = size == MOD_LEN_OPEN || (size != 0 && size <= ctx_.length);
    return is_whole_ && is_complete ? found(ctx_, size) : MOD_FAILED;
  }

 private:
  bool take_in_step() noexcept {
    const bool is_request = ends_here(mod_requestLength(ctx_.buffer, ctx_.length), ctx_.length);
    const bool is_response = ends_here(response_size(ctx_.buffer, ctx_.length), ctx_.length);
    const bool is_frame = (is_request || is_response) && is_rtu_frame(ctx_.buffer, ctx_.length);
    if (is_frame && is_request) return true;
    if (is_frame) mod_rxReset(&ctx_);
    is_in_step_ = is_frame || is_under_way(ctx_);
    return false;
  }

  mod_ctx& ctx_;
  bool is_in_step_ = true;
  bool is_whole_ = true;  // nothing of what has come was dropped for want of room
};

std::int32_t receive_rtu_request(mod_ctx& ctx) noexcept {
  request_search search(ctx);
  std::uint8_t byte = 0;
  while (ctx.recv_fn(ctx.handle, &byte, 1) != -1) {
    if (search.take(byte)) return found(ctx, ctx.length);
  }
  return search.end();
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
