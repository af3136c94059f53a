// The loop that receives a frame, whatever ends it.
#pragma once

#include <cstdint>

#include "framing.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

// Receives one frame through recv_fn: its length, or MOD_FAILED when the input ended before the
// frame was complete or went beyond the buffer.
std::int32_t receive_frame(mod_ctx& ctx, end_rule ends) noexcept;

}  // namespace ruvex
