// The message exchange record: one request or response as an application sees it.
#pragma once

#include <cstdint>

namespace ruvex {

inline constexpr std::int32_t mod_data_size = 512;

// A master describes its request here and finds the response; a slave finds the request and puts
// the response here. Plain data: the caller provides the storage and owns it.
//
// `data`, by function code:
//   1, 2, 5, 15    coils and inputs, a byte each: 0 is off. Of what is sent any other value is on,
//                  but with code 5 a master's request takes only 1 for on; what is received is
//                  0 or 1.
//   3, 4, 6, 16, 102 (sent), 108
//                  registers: 16-bit words in the host's byte order.
//   105            32-bit words in the host's byte order; where `count` is negative, as a signed
//                  16-bit number, that many bytes instead.
//   100, 101, 102 and 106 (returned)
//                  NUL-terminated strings, packed one after the other.
//   104            bytes.
//   106, 107       a 32-bit word in the host's byte order; from byte 4 on registers (106) or
//                  entries (107): a 16-bit word in the host's byte order and a NUL-terminated
//                  string, packed.
//   bit 7 set      byte 0 is the code of the exception or failure (codes.h).
struct mod_mex {
  std::uint16_t tid;    // MBAP transaction identifier (MOD_TCP)
  std::uint16_t pid;    // MBAP protocol identifier (MOD_TCP)
  std::uint16_t len;    // MBAP length field of a message received (MOD_TCP)
  std::uint8_t addr;    // slave address, unit identifier
  std::uint8_t fcn;     // function code; bit 7 set: an exception or a failure
  std::uint16_t ref;    // first reference, from 1: the message carries ref - 1, modulo 65536
  std::uint16_t count;  // quantity: coils, registers, strings, bytes or words
  std::uint8_t data[mod_data_size];
};

}  // namespace ruvex
