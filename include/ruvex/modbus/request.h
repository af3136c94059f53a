// Requests of foreign masters on an RTU line.
//
// The receive rule of the frame layer knows the lengths of responses, which is what a master
// receives. A slave whose master is of another kind receives requests, and these end elsewhere:
//
//   while (running) {
//     if (mod_waitRequest(&ctx) < 0) continue;               // nothing came, or half a request
//     const int code = mod_slaveRx(&ctx, &mex, MOD_SKIP_RX);
//     ...
//   }
#pragma once

#include <cstdint>

#include "ruvex/modbus/context.h"

namespace ruvex {

// The length of an RTU request frame, its CRC included, from its first `count` bytes: 0 while it is
// not known yet, which is up to the seventh byte with function codes 15 and 16 and up to the second
// with others; MOD_LEN_OPEN for function codes other than 1 to 6, 15 and 16.
std::int32_t mod_requestLength(const std::uint8_t* request, std::int32_t count) noexcept;

// Receives one request through recv_fn, as mod_waitPacket receives a response: its length, or -1
// when the input ended before the request was complete or went beyond 512 characters. A request of
// open length ends with the input. With another protocol than MOD_RTU it is mod_waitPacket.
std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept;

}  // namespace ruvex
