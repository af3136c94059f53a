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

#include "ruvex/modbus/context.h"

namespace ruvex {

// Codes of failures: those of the Modbus protocol (1 to 8, "MODBUS Application Protocol
// Specification V1.1b3", section 7), and the codec's own.
enum mod_code : std::uint8_t {
  MOD_NO_EXCEPTION = 0,
  MOD_ILLEGAL_FUNCTION = 1,
  MOD_ILLEGAL_DATA_ADDRESS = 2,
  MOD_ILLEGAL_DATA_VALUE = 3,
  MOD_NEGATIVE_ACKNOWLEDGE = 7,
  MOD_SLAVE_CORRUPT = 12,
  MOD_SLAVE_NO_FRAME = 13,
  MOD_SLAVE_NOT_SENT = 14,
  MOD_MASTER_NOT_SENT = 16,
  MOD_MASTER_NO_RESPONSE = 17,
  MOD_MASTER_CORRUPT = 18,
};

// The text of a code; "Unknown Error" for any that has none.
const char* mod_errStr(int code) noexcept;

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
// RTU frame ends where a response of its function code does; one of another code than 1 to 6, 15
// and 16 ends with the end of input (`expected` is then MOD_LEN_OPEN). RTU requests of foreign
// masters have other lengths: request.h.
std::int32_t mod_rxChar(mod_ctx* ctx, std::uint8_t character) noexcept;

// Receives one frame through recv_fn. Its length; -1 when the input ended before the frame was
// complete (but for an RTU frame of open length, which that completes) or went beyond 512
// characters. What had been received is in `buffer` and `length` all the same.
std::int32_t mod_waitPacket(mod_ctx* ctx) noexcept;

// Writes the frame of a message of `length` bytes to `output`, which has room for 512 and is not
// `message`. Its length; 0, and nothing is written, when the protocol is unknown, `length` is
// negative or the frame would exceed 512 bytes.
std::int32_t mod_binToTx(std::uint8_t protocol, std::int32_t length, const std::uint8_t* message,
                         std::uint8_t* output) noexcept;

// Writes the message of a frame of `length` characters to `output`, which has room for as many and
// may be the frame itself. Its length; -12 when the frame is corrupt, which one beyond 512
// characters is too; 0 for an unknown protocol. `output` is of no use after -12.
std::int16_t mod_rxToBin(std::uint8_t protocol, std::int32_t length, const std::uint8_t* frame,
                         std::uint8_t* output) noexcept;

}  // namespace ruvex
