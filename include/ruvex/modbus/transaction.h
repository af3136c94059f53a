// Whole exchanges over a context: a master's request and response, a slave's request and response.
//
// A master calls mod_masterTxRx, which tries a second time, or mod_masterTx and mod_masterRx. A
// slave calls mod_slaveRx, serves the record, and calls mod_slaveTx. When mod_slaveRx has refused a
// request, the record is ready for mod_slaveTx to answer with the exception; only what was no
// request (MOD_SLAVE_NO_FRAME, MOD_SLAVE_CORRUPT) stays without an answer. Which addresses to serve
// is the application's decision: no addresses are compared, and a master takes the first complete
// frame for its answer.
//
// Every failure stands in the record too: bit 7 of `fcn` set and the code in `data` byte 0
// (mod_code). The context and the record belong to one exchange at a time. Transport and time-outs
// are those of the context's functions (context.h).
#pragma once

#include <cstdint>

#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// Steps to leave out; the bits may be combined.
enum mod_flags : std::uint32_t {
  MOD_SKIP_RX = 1,     // Rx: the frame is in `buffer` and `length` (fed with mod_rxChar)
  MOD_SKIP_FRAME = 2,  // Tx: the frame is in `tx_buffer` and `tx_length`;
                       // Rx: the message, without its frame, is in `buffer` and `length`
  MOD_SKIP_TX = 4,     // Tx: build the frame and do not send it
  MOD_SKIP_MEX = 8,    // Tx: the message is in `buffer` and `length`; Rx: leave it there
};

// Sends the record's request. 0; MOD_FAILED when it is refused (master.h), or the frame could not
// be sent or does not fit `tx_buffer` (MOD_MASTER_NOT_SENT).
std::int32_t mod_masterTx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept;

// Receives a response into the record, which holds the request. 0; MOD_FAILED when none came
// (MOD_MASTER_NO_RESPONSE), it was corrupt (MOD_MASTER_CORRUPT), an exception, or refused
// (master.h).
std::int32_t mod_masterRx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept;

// Both, and both a second time when the first response failed in any way; this is logged, at INFO
// and on standard output. 0 when one of them succeeded, otherwise the code in `data` byte 0, and
// the record is as the last attempt left it. A request that could not be built or sent is not
// repeated. An exception response may carry the code 0: only bit 7 of `fcn` tells it from success.
std::int32_t mod_masterTxRx(mod_ctx* ctx, mod_mex* mex) noexcept;

// Receives a request into the record. 0 when it is valid; MOD_NO_REQUEST when no complete frame
// came (MOD_SLAVE_NO_FRAME); MOD_FAILED when it was corrupt (MOD_SLAVE_CORRUPT); what
// mod_slaveBinToMex gives when that refuses it (slave.h).
std::int32_t mod_slaveRx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept;

// Sends the record's response. 0; MOD_FAILED, and nothing is sent, when it is refused (slave.h: a
// second call sends the exception); MOD_RESPONSE_UNSENT when the frame could not be sent or does
// not fit `tx_buffer` (MOD_SLAVE_NOT_SENT).
std::int32_t mod_slaveTx(mod_ctx* ctx, mod_mex* mex, std::uint32_t flags) noexcept;

}  // namespace ruvex
