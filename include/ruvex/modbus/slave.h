// A slave's messages: requests into the record, responses out of it.
//
//   code = mod_slaveBinToMex(protocol, &mex, message, length);
//   if (code == 0) serve(mex);                          // or bit 7 of fcn and a code in data[0]
//   length = mod_slaveMexToBin(protocol, &mex, output);
//
// The record is that of message.h, and messages are those of master.h; slaves know function code
// 108 in addition, a read of registers. The functions keep no state and print nothing. A request
// that is refused leaves the record ready to be answered with an exception: bit 7 of `fcn` set, the
// code in `data` byte 0, all other data as it was.
#pragma once

#include <cstdint>

#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// Reads a request of `length` bytes into the record: `addr`, `fcn` and `ref` in every case, by
// function code `count` and the data.
//
// 0 when the request is valid; otherwise the exception code with a minus:
//   MOD_FAILED          the function code is unknown;
//   MOD_TOO_MANY        more than 32 coils, inputs or registers are to be read, or registers to be
//                       written (1 to 4, 16, 108);
//   MOD_NOT_WHOLE       the request ends before its payload, or that does not fit the data;
//   MOD_BLOCK_TOO_LONG  a byte block (104) has more than 512 bytes.
std::int32_t mod_slaveBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                               std::int32_t length = mod_buffer_size) noexcept;

// Writes the response that the record describes to `output`, which has room for 512 bytes: an
// exception response when bit 7 of `fcn` is set.
//
// Its length; MOD_FAILED, and the record is marked as for a refused request, when the function code
// is unknown (MOD_ILLEGAL_FUNCTION) or the payload is not in the data or too long for a frame of
// this protocol (MOD_ILLEGAL_DATA_VALUE). A second call then gives the exception response.
std::int32_t mod_slaveMexToBin(std::uint8_t protocol, mod_mex* mex, std::uint8_t* output) noexcept;

}  // namespace ruvex
