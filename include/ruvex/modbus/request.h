// Requests of foreign masters on an RTU line.
//
// The receive rule of the frame layer knows the lengths of responses, which is what a master
// receives. A slave whose master is of another kind receives requests, and these end elsewhere:
//
//   while (running) {
//     if (mod_waitRequest(&ctx) < 0) continue;  // nothing came, or half a request
//     const int code = mod_slaveRx(&ctx, &mex, MOD_SKIP_RX);
//     ...
//   }
#pragma once

#include <cstdint>

#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

// The length of an RTU request frame, its CRC included, from its first `count` bytes. 0 while it is
// not known yet: up to the seventh byte where a request has a byte count, up to the second with
// other function codes. MOD_LEN_OPEN for the codec's own function codes and unknown ones.
std::int32_t mod_requestLength(const std::uint8_t* request, std::int32_t count) noexcept;

// Receives one request through recv_fn, as mod_waitPacket receives a response: its length, or
// MOD_FAILED when the input ended before the request was complete or went beyond 512 characters. A
// request of open length ends with the input. Only RTU frames have ends of their own for requests;
// with another protocol it is mod_waitPacket.
std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept;

}  // namespace ruvex
