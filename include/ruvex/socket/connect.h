// Connecting and accepting within a time limit, and waiting for input. Times are in milliseconds; a
// negative time fails. Each wait is a select over 1024 descriptors: a descriptor above 1023 is
// refused. A signal ends it, even where its handler was installed with SA_RESTART; sktAcceptTimeout
// waits on.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// Connects a stream socket to an address of its family within `timeout_ms`. `port` replaces the
// port of an IPv4 address (its low 16 bits count). 0, and m_connected is 1; otherwise -1. Blocking
// mode is afterwards as it was, and an attempt that has failed is over: the socket can try again.
// m_peeraddr holds the address from the attempt on. After -1 standard error holds
//   sktConnectAddr():Socket must be SOCK_STREAM
//   sktConnectAddr(): descriptor 1024 is beyond those of select
//   perror fcntl( F_GETFL )
//   perror fcntl( F_SETFL , O_NONBLOCK )        also when the connection fails at once, or the
//                                               record is connected (EISCONN) and stays so
//   sktConnectAddr(): select : Nothing ready within timeout period
//   sktConnectAddr(): select() returned both readable and writable
//                                               the connection was refused, and the next line gives
//                                               the reason; or the peer has sent already, and this
//                                               counts as a failure, too
//   sktConnectAddr(): socket not readable or writable
//   perror sktConnectAddr(): getsockopt() : Perror(error)         the pending error
//   perror sktConnectAddr(): getsockopt() < 0                     it cannot be had
//   perror fcntl( F_SETFL , original_flags )
// and nothing where the wait itself fails (a negative time, a signal). The lines on the descriptor
// and on the select end in CR LF, and a blank follows "Perror(error)".
int sktConnectAddr(Socket* skt, const skt_address* addr, int port, long timeout_ms) noexcept;

// The same to a host name or dotted address or, with a local socket, to a local name (`port` is not
// used then). -1 also with perror getaddrinfo() (ENXIO: no such host; EAGAIN, ENOMEM or another
// error of the system), and with a message for a local name that does not fit. The time limit does
// not bound the resolving of a name.
int sktConnectHost(Socket* skt, const char* host, int port, long timeout_ms) noexcept;

// Accept a connection. The result is a connected socket, which the caller owns and whose m_sockaddr
// is the peer's address. Without a time limit they wait as long as the listener's mode and
// time-outs let them. Null when none has come, without memory as sktInit, and on failure, with one
// of these:
//   perror Socket::Accept(void):accept()
//   perror Socket::Accept(long):accept()
//   perror Socket::Accept(long):select()
// An accept that would block or that a signal has interrupted is not reported.
//
// A signal does not end the wait of sktAcceptTimeout, and does not prolong it. Several processes
// may wait with it at one listener that they share: one gets the connection, and the others wait on
// until their time has passed. Flags and time-outs of the listener stay as they are. While one of
// the processes is stopped in the middle of accepting, the others get no connection, and wait up to
// 20 ms longer.
//
// Not promised: where another process or thread calls sktAccept or the system's accept beside it,
// or threads of one process wait at duplicates of one descriptor, a blocking listener can keep
// sktAcceptTimeout until the next connection comes.
Socket* sktAccept(Socket* skt) noexcept;
Socket* sktAcceptTimeout(Socket* skt, long timeout_ms) noexcept;

// Waits until one of `count` sockets can be read, and sets m_selected of each (sktIsSelected) to 1
// where it can, else to 0. The result is how many can; 0 when the time has passed; -1 with perror
// Socket::SelectRd():select(), also after a signal (EINTR) and where one has a descriptor above
// 1023 (EINVAL). With `count` 0 it only waits.
int sktSelectRd(int count, Socket* const* skts, long timeout_ms) noexcept;

// Whether the last sktSelectRd found the socket readable: 1 or 0; 0 for null.
int sktIsSelected(const Socket* skt) noexcept;

}  // namespace ruvex
