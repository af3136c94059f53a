// Sending and receiving, by type and role of the socket.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// What a transfer gives besides a count.
inline constexpr int skt_failed = -1;       // reported on standard error
inline constexpr int skt_would_block = -2;  // or its time-out has passed; not reported

// Receives up to `len` bytes into `buf`: how many; of a stream 0 when the peer has closed. -2; -1
// with "Socket::Recv():Socket not connected" (a stream socket), perror Socket::Recv():recv() (a
// stream socket) or Socket::Recv():recvfrom() (any other). A signal does not end the wait, but of a
// pseudo socket.
//
// A client's datagram leaves the sender in m_fromaddr. A server's leaves it in m_destaddr, so that
// the next sktSendN answers it; a sender without a name cannot be answered.
int sktRecv(Socket* skt, void* buf, int len) noexcept;

// Sends `len` bytes: a stream socket to its peer, a pseudo socket by writing, any other to
// m_destaddr. How many went, which may be fewer; the caller sends the rest. -2; 0, not reported,
// when the peer has gone: for that the program ignores or handles SIGPIPE, which ends it otherwise.
// -1 with "Socket::Send():Socket not connected" or perror Socket::Send().
int sktSendN(Socket* skt, const void* buf, int len) noexcept;

// One byte; the characters of a text without its NUL.
int sktSendC(Socket* skt, char c) noexcept;
int sktSendS(Socket* skt, const char* text) noexcept;

// Opens m_fin and m_fout, which sktClose closes: 0. -1 on failure (errno); a stream that is open
// stays, and is not opened again.
int sktOpenStreams(Socket* skt) noexcept;

}  // namespace ruvex
