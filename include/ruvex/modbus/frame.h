// The frame layer: a message becomes a frame of the line's protocol, a received frame becomes a
// message again, and the end of a frame is found while it is received.
//
// A message is an address, a function code and data, in front of them an MBAP header for MOD_TCP
// (master.h, slave.h build and read it). Frames and messages have at most 512 bytes. Nothing is
// allocated, nothing is printed.
//
// "MODBUS over Serial Line, Specification and Implementation Guide V1.02" describes RTU; "MODBUS
// Messaging on TCP/IP Implementation Guide V1.0b" the MBAP header. The check of an ASCII frame here
// is over the characters of the digits, not over the bytes, so ASCII frames are for partners of
// this kind only.
#pragma once

#include <cstdint>

#include "ruvex/modbus/codes.h"
#include "ruvex/modbus/context.h"

namespace ruvex {

// Sets up a context: the four values, and no characters received. `handle` and what the functions
// use stay valid as long as the context is in use. The buffers are left as they are.
void mod_init(mod_ctx* ctx, std::uint8_t protocol, void* handle, mod_recv_fn recv_fn,
              mod_send_fn send_fn) noexcept;

// Makes the context ready for characters that the caller feeds with mod_rxChar.
void mod_rxReset(mod_ctx* ctx) noexcept;

// Takes one character. 0 while the frame is incomplete; its length, which `length` holds too, when
// the character has completed it. Characters beyond 512 are not stored and complete nothing.
//
// The end is found from the characters alone: LF (ASCII), DLE ETX (DF1), the length field (TCP). An
// RTU frame ends where a response of its function code does. One of the codec's own codes
// (message.h) or of an unknown one ends with the input; `expected` is then MOD_LEN_OPEN. RTU
// requests of foreign masters have other lengths: request.h.
std::int32_t mod_rxChar(mod_ctx* ctx, std::uint8_t character) noexcept;

// Receives one frame through recv_fn. Its length; MOD_FAILED when the input ended before the frame
// was complete or went beyond 512 characters. The end of the input completes an RTU frame of open
// length. What has been received stands in `buffer` and `length` in every case.
std::int32_t mod_waitPacket(mod_ctx* ctx) noexcept;

// Writes the frame of a message of `length` bytes to `output`, which has room for 512 and is not
// `message`. Its length; 0, and nothing is written, when the protocol is unknown, `length` is
// negative or the frame would exceed 512 bytes.
std::int32_t mod_binToTx(std::uint8_t protocol, std::int32_t length, const std::uint8_t* message,
                         std::uint8_t* output) noexcept;

// Writes the message of a frame of `length` characters to `output`, which has room for as many and
// may be the frame itself. Its length; MOD_CORRUPT_FRAME, also for a frame beyond 512 characters;
// 0 for an unknown protocol. `output` is of no use after MOD_CORRUPT_FRAME.
std::int16_t mod_rxToBin(std::uint8_t protocol, std::int32_t length, const std::uint8_t* frame,
                         std::uint8_t* output) noexcept;

}  // namespace ruvex
