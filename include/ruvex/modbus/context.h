// The codec's context: buffers, receive state and transport of one line or connection.
#pragma once

#include <cstdint>

namespace ruvex {

// Framings. The first three have the numbers of the configuration's `protocol` values.
enum mod_protocol : std::uint8_t {
  MOD_ASCII = 0,  // ":", two hex digits for each byte, check over the digits, CR LF
  MOD_RTU = 1,    // the bytes, CRC-16
  MOD_DF1 = 2,    // DLE STX, the bytes with every DLE doubled, DLE ETX; no check
  MOD_TCP = 3,    // the bytes, which begin with the MBAP header
};

// The transport: a handle and two functions, which a context carries. Everything that the codec
// does on a line goes through them.
//
// recv_fn reads up to `length` bytes (at least 1) into `buffer` and returns how many. It blocks
// until there is a byte or its own time-out has passed: the time-out is the transport's, for the
// first byte of a frame and between two bytes alike, and is what ends the wait for an answer that
// does not come. -1 says that nothing can be read: time-out, error, end of input. The codec asks
// for one byte at a time and takes any result but -1 as one byte, so a source must not return 0.
//
// send_fn writes `length` bytes and returns -1 when it could not, anything else when it has. A
// partial write is a failure that the transport has to finish or report.
//
// Neither keeps `buffer` beyond the call. The handle is passed as it is and stays the caller's.
using mod_recv_fn = std::int32_t (*)(void* handle, void* buffer, std::int32_t length);
using mod_send_fn = std::int32_t (*)(void* handle, const void* buffer, std::int32_t length);

inline constexpr std::int32_t mod_buffer_size = 512;

// `expected` of a frame that only the end of input ends.
inline constexpr std::int16_t MOD_LEN_OPEN = 32767;

// One for each transport, used by one thread at a time. The caller provides the storage; mod_init
// fills it (frame.h).
struct mod_ctx {
  std::uint8_t protocol;                    // a mod_protocol
  std::uint8_t last_char;                   // the previous character received, for the DF1 rule
  std::int32_t length;                      // bytes in `buffer`: of the frame, or of the message
  std::int32_t tx_length;                   // bytes in `tx_buffer`
  std::int16_t expected;                    // length of the frame being received; 0: not known yet
  std::uint8_t buffer[mod_buffer_size];     // frame received; message received or to be sent
  std::uint8_t tx_buffer[mod_buffer_size];  // framed message to be sent
  void* handle;
  mod_recv_fn recv_fn;
  mod_send_fn send_fn;
};

}  // namespace ruvex
