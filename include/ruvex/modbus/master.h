// A master's messages: requests out of the record, responses into it.
//
// Both functions take the record of message.h and a message, which begins with the address and, for
// MOD_TCP, with the MBAP header in front of it. They keep no state and print nothing. What they
// refuse they mark in the record: bit 7 of `fcn` set and a code in `data` byte 0, all other data as
// it was.
#pragma once

#include <cstdint>

#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// Writes the request that the record describes to `output`, which has room for 512 bytes. The
// function codes are those of message.h except 108.
//
// Its length, or MOD_FAILED: for another function code (MOD_ILLEGAL_FUNCTION), and for a payload
// that is not in the data or too long for a frame of this protocol (MOD_ILLEGAL_DATA_VALUE).
// `output` is then of no use. A request changes its record, too: with code 5 the first word of the
// data becomes the value sent, 0xFF00 or 0; with codes 106 and 107 `count` becomes `ref` without
// its bit 15, which is the quantity of these.
std::int32_t mod_masterMexToBin(std::uint8_t protocol, mod_mex* mex, std::uint8_t* output) noexcept;

// Reads a response of `length` bytes into the record, which still holds the request: with codes 1
// and 2 its `count` tells how many bits there are. `addr` and `fcn` become those of the response
// and are compared with nothing, nor is `tid`. By function code `count` and the data follow; with
// codes that write, and with unknown ones, nothing more is read.
//
// 0, or MOD_FAILED: for an exception response, whose code is then in `data` byte 0; for a byte
// block (104) of more than 512 bytes (MOD_NEGATIVE_ACKNOWLEDGE); for a response that ends before
// its payload or whose payload does not fit the data (MOD_ILLEGAL_DATA_VALUE).
std::int32_t mod_masterBinToMex(std::uint8_t protocol, mod_mex* mex, const std::uint8_t* message,
                                std::int32_t length = mod_buffer_size) noexcept;

}  // namespace ruvex
