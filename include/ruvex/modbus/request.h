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

// Receives one request through recv_fn: its length, or MOD_FAILED when the input has ended and
// there is none. The request stands at the start of `buffer`. Only RTU frames have ends of their
// own for requests; with another protocol it is mod_waitPacket.
//
// Other slaves may answer on the line. Their answers are dropped; requests to them are found as any
// other, so compare the address. As long as one whole frame follows the other, nothing inside one
// is taken for a request. After noise, or an answer of unknown length, a request is taken wherever
// its length and its CRC fit.
//
// The end of the input ends a request of open length. A request that is whole but for its CRC is
// received then, too: mod_slaveRx says that it is corrupt.
std::int32_t mod_waitRequest(mod_ctx* ctx) noexcept;

}  // namespace ruvex
