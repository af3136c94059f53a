// Connecting and accepting within a time limit, and waiting for input. Times are in milliseconds;
// a negative time fails. Waits are selects over 1024 descriptors: a descriptor above 1023 is
// refused.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// Connects a stream socket to an address of its family within `timeout_ms`; `port` is that of an
// IPv4 address (its low 16 bits count), whatever the address holds. 0, and m_connected is 1;
// otherwise -1. Blocking mode is afterwards as it was. Standard error holds
//   sktConnectAddr():Socket must be SOCK_STREAM
//   perror fcntl( F_GETFL )
//   perror fcntl( F_SETFL , O_NONBLOCK )        also when the connection is refused at once
//   sktConnectAddr(): select : Nothing ready within timeout period
//   sktConnectAddr(): select() returned both readable and writable      so it is with a connection
//       that is refused, but also with one over which the peer has sent by then: it fails, too
//   perror sktConnectAddr(): getsockopt() : Perror(error)               the pending error
//   perror fcntl( F_SETFL , original_flags )
// An attempt that has failed is over, and the socket can be used for another one.
int sktConnectAddr(Socket* skt, const skt_address* addr, int port, long timeout_ms) noexcept;

// The same to a host name or dotted address, or to a local name (`port` is then not used). -1 also
// with perror getaddrinfo(), and a message for a local name that does not fit. Resolving a name is
// not bounded by the time limit.
int sktConnectHost(Socket* skt, const char* host, int port, long timeout_ms) noexcept;

// Accept a connection: a connected socket, which the caller owns and whose m_sockaddr is the peer's
// address; without a time limit as long as the listener's mode and time-outs let it wait. Null when
// none has come, and on failure; reported with perror Socket::Accept(void):accept(),
// Socket::Accept(long):accept(), Socket::Accept(long):select(), but not when the call would block
// or a signal has interrupted accept.
Socket* sktAccept(Socket* skt) noexcept;
Socket* sktAcceptTimeout(Socket* skt, long timeout_ms) noexcept;

// Waits until one of `count` sockets can be read, and sets m_selected of all (sktIsSelected). How
// many can; 0 when the time has passed; -1 with perror Socket::SelectRd():select(), which is also
// the answer where one has a descriptor above 1023 (EINVAL). The flags are 0 after 0 and -1. With
// `count` 0 it waits.
int sktSelectRd(int count, Socket* const* skts, long timeout_ms) noexcept;

// Whether the last sktSelectRd found the socket readable: 1 or 0; 0 for null.
int sktIsSelected(const Socket* skt) noexcept;

}  // namespace ruvex
