// A transport over a descriptor: a terminal, or a connected stream socket.
//
// It waits in milliseconds, tells a line that is silent from one that is closed, drops what has
// come too late, and opens again what has been closed, where it knows how.
//
//   mod_tcp_server plant = {"10.0.0.7", "502"};
//   mod_line line;
//   mod_lineInit(&line, mod_tcpOpen, &plant, 1000);
//   mod_init(&ctx, MOD_TCP, &line, mod_lineRecv, mod_lineAsk);
//
// client.h asks over such a line. A line is used by one thread at a time. Signals interrupt
// nothing: a wait ends when its time has passed.
#pragma once

#include <cstdint>

namespace ruvex {

// Opens a line: a descriptor that the line closes, or -1 (errno). `where` is what the line was set
// up with; opening ends after about `timeout_ms`.
using mod_open_fn = int (*)(void* where, std::int32_t timeout_ms);

struct mod_line {
  int fd;                   // -1: not open
  std::int32_t timeout_ms;  // the longest wait: for a byte, for room to send, for a connection
  std::int32_t baud;        // of a serial line; 0 of a connection
  mod_open_fn open_fn;      // null: the descriptor is the caller's
  void* where;
  bool is_closed;  // the last call found the line closed, and not just silent
  int error;       // the errno of it; 0: the peer has closed
  bool is_socket;  // the line's own: how it sends
};

// Sets up a line over a descriptor that the caller has opened and closes. It becomes non-blocking
// and stays so. `baud` is the speed of a serial line, 0 for a connection. A line that is closed
// stays closed.
void mod_lineInit(mod_line* line, int fd, std::int32_t timeout_ms, std::int32_t baud = 0) noexcept;

// Sets up a line that is opened by the first call which needs it, and again by the first one after
// it has been closed. `where` outlives the line.
void mod_lineInit(mod_line* line, mod_open_fn open_fn, void* where, std::int32_t timeout_ms,
                  std::int32_t baud = 0) noexcept;

// Opens the line when it is not open: 0, also when it is. -1: closed, `error` tells why.
std::int32_t mod_lineOpen(mod_line* line) noexcept;

// Closes what open_fn has opened; the caller's descriptor stays open and is not used any more.
void mod_lineClose(mod_line* line) noexcept;

// The transport's functions; the handle is the mod_line.
//
// Receiving gives the bytes that are there, at most `length`, and waits up to `timeout_ms` for the
// first one. -1: silent or closed. It does not open a line.
std::int32_t mod_lineRecv(void* line, void* buffer, std::int32_t length) noexcept;

// The same with a time-out of its own; 0 or less takes what is there.
std::int32_t mod_lineRecvTimeout(mod_line* line, void* buffer, std::int32_t length,
                                 std::int32_t timeout_ms) noexcept;

// Sends `length` bytes: `length`, or -1 when they have not all gone within `timeout_ms`, or the
// line is closed. No signal is raised. mod_lineAsk is for the requests of masters: it drops what
// has come, and opens the line where it is closed. mod_lineSend is for the answers of slaves.
std::int32_t mod_lineSend(void* line, const void* buffer, std::int32_t length) noexcept;
std::int32_t mod_lineAsk(void* line, const void* buffer, std::int32_t length) noexcept;

// Drops what has come and has not been received: 0; -1 when the line is closed.
std::int32_t mod_lineDrop(void* line) noexcept;

// Where a Modbus/TCP device or gateway listens. The texts outlive the line.
struct mod_tcp_server {
  const char* host;     // a name, or an IPv4 or IPv6 address
  const char* service;  // a port: "502"
};

// A mod_open_fn for connections; `server` is a mod_tcp_server. It tries the addresses of the host
// one after the other. errno: ENXIO when there is no such host, ETIMEDOUT, ECONNREFUSED, or what
// the system says. The time-out does not bound the resolving of a name.
int mod_tcpOpen(void* server, std::int32_t timeout_ms) noexcept;

}  // namespace ruvex
