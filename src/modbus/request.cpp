#include "ruvex/modbus/request.h"

#include "framing.h"
#include "layout/functions.h"
#include "receive.h"

namespace ruvex {

std::int32_t mod_requestLength(const std::uint8_t* request, std::int32_t count) noexcept {
  if (count <= function_at) return 0;
  const frame_length& length = request_length(request[function_at]);
  return count <= length.told_at ? 0 : length.of(request);
}

std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept {
  return receive_frame(*ctx, framing_of(ctx->protocol).ends_request);
}

}  // namespace ruvex
