// Transports for a context (context.h has their contract).
//
// The codec asks for one byte at a time. Over a source in which every call is a system call a
// buffer in between takes all that is there with one:
//
//   int fd = ...;                                               // a connected stream socket
//   mod_buffered line;
//   mod_bufferedInit(&line, &fd, mod_socketRecv, mod_socketSend, mod_socketDrop);
//   mod_init(&ctx, MOD_TCP, &line, mod_bufferedRecv, mod_bufferedAsk);  // of a slave: Send
//
// A master drops what has come before it asks. Otherwise an answer that comes too late is taken for
// the answer to the next question, and so on with all that follow.
#pragma once

#include <cstdint>

#include "ruvex/modbus/context.h"

namespace ruvex {

// A third function of a transport: drops what has come and has not been received. It does not wait.
// -1 when it could not, anything else when it has.
using mod_drop_fn = std::int32_t (*)(void* handle);

// A buffer over another transport. The caller provides the storage; it is used by one context.
struct mod_buffered {
  void* handle;
  mod_recv_fn recv_fn;
  mod_send_fn send_fn;
  mod_drop_fn drop_fn;
  std::int32_t next;  // of the bytes held
  std::int32_t end;
  std::uint8_t bytes[mod_buffer_size];
};

// Sets up an empty buffer over a transport, whose handle outlives it. recv_fn may return fewer
// bytes than it is asked for, and 0 at the end of its input. Without a drop_fn only what the buffer
// holds can be dropped.
void mod_bufferedInit(mod_buffered* buffered, void* handle, mod_recv_fn recv_fn,
                      mod_send_fn send_fn, mod_drop_fn drop_fn = nullptr) noexcept;

// Drops what came late for an exchange that has been given up: the bytes held and those below.
void mod_bufferedClear(mod_buffered* buffered) noexcept;

// The transport's functions; the handle is the mod_buffered. Receiving gives what is held, up to
// `length`, and asks the transport below only when nothing is; sending is passed on. A master's
// requests go through mod_bufferedAsk, which clears before it sends.
std::int32_t mod_bufferedRecv(void* buffered, void* buffer, std::int32_t length) noexcept;
std::int32_t mod_bufferedSend(void* buffered, const void* buffer, std::int32_t length) noexcept;
std::int32_t mod_bufferedAsk(void* buffered, const void* buffer, std::int32_t length) noexcept;

// A transport over a connected stream socket; the handle points to the descriptor, an int. The
// time-out is the socket's own (SO_RCVTIMEO and SO_SNDTIMEO), without one it waits for ever.
// Interrupted calls go on. Receiving gives -1 at the end of input, too. Sending writes all bytes or
// fails; a peer that is gone raises no signal. line.h has a transport with time-outs of its own,
// which tells the end of input from a time-out.
std::int32_t mod_socketRecv(void* descriptor, void* buffer, std::int32_t length) noexcept;
std::int32_t mod_socketSend(void* descriptor, const void* buffer, std::int32_t length) noexcept;
std::int32_t mod_socketDrop(void* descriptor) noexcept;

}  // namespace ruvex
