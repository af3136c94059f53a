// Sending and receiving, by type and role of the socket.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// What a transfer gives when it gives no count.
inline constexpr int skt_failed = -1;       // reported on standard error
inline constexpr int skt_would_block = -2;  // or its time-out has passed; not reported

// Receives up to `len` bytes into `buf` and returns how many have come; 0 of a stream whose peer
// has closed. skt_would_block; skt_failed with one of these:
//   Socket::Recv():Socket not connected     a stream socket
//   perror Socket::Recv():recv()            a stream socket
//   perror Socket::Recv():recvfrom()        any other
// A negative `len` fails so (EINVAL). A signal does not end the wait, and does not prolong it where
// the socket has a time-out. A pseudo socket is the exception: a signal ends its wait (EINTR),
// unless the handler was installed with SA_RESTART and there is no time-out.
//
// A datagram that a client receives leaves its sender in m_fromaddr. With a server it leaves the
// sender in m_destaddr, so that the next sktSendN answers it. A sender without a name cannot be
// answered.
int sktRecv(Socket* skt, void* buf, int len) noexcept;

// Sends `len` bytes: a stream socket to its peer, a pseudo socket by writing, any other to
// m_destaddr. The result is how many went. They may be fewer; then the caller sends the rest.
// skt_would_block; skt_failed with "Socket::Send():Socket not connected" (a stream socket) or
// perror Socket::Send(), so where `len` is negative (EINVAL). 0, not reported, when the peer has
// gone: the program ignores or handles SIGPIPE for that, since the signal ends it otherwise. A
// signal ends a send that waits (EINTR), unless its handler was installed with SA_RESTART and the
// socket has no time-out of sending.
int sktSendN(Socket* skt, const void* buf, int len) noexcept;

// The same with one byte, and with the characters of a text without its NUL.
int sktSendC(Socket* skt, char c) noexcept;
int sktSendS(Socket* skt, const char* text) noexcept;

// Opens m_fin and m_fout, which sktClose closes: 0. -1 on failure (errno). A stream that is open
// already stays as it is; so does one that was opened before the failure.
int sktOpenStreams(Socket* skt) noexcept;

}  // namespace ruvex
