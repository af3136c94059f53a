// Modes and options of a socket. Each gives 0, or -1 with perror and one of the labels named.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// Non-blocking mode, on when `on` is not 0. fcntl( F_GETFL ), fcntl( F_SETFL , O_NONBLOCK ).
int sktSetNonblocking(Socket* skt, int on) noexcept;

// SO_BROADCAST of a datagram socket; any other gets -1 and
//   Socket::SetBcast():Operation attempted on TCP socket...
// getsockopt( SO_BROADCAST ), setsockopt( SO_BROADCAST ).
int sktSetBcast(Socket* skt, int on) noexcept;

// Time-outs of receiving and sending in milliseconds; 0 leaves one as it is. A transfer that runs
// out of time gives skt_would_block. That of receiving bounds sktAccept as well.
// setsockopt( SO_RCVTIMEO ), after which the time-out of sending stays as it is;
// setsockopt( SO_SNDTIMEO ). A negative time fails so (EDOM), except whole seconds below 0: with
// these no transfer waits.
int sktSetTimeouts(Socket* skt, int rcv_ms, int snd_ms) noexcept;

// SO_REUSEADDR, to the value given. setsockopt( SO_REUSEADDR ).
int sktReuse(Socket* skt, int on) noexcept;

// TCP_NODELAY, on when `on` is not 0. 0 in every case.
int sktSetTcpNodelay(Socket* skt, int on) noexcept;

// Promiscuous mode of the interface m_ife, on when `on` is not 0. The mode is the interface's and
// stays when the socket is closed; its other flags are not changed. -1 with
// "Socket::SetPromiscuous():no interface specified" (no line end) when m_ife is empty, and with a
// message when it has more than 15 characters. Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS),
// Socket::SetPromiscuous():ioctl(SIOCSIFFLAGS).
int sktSetPromiscuous(Socket* skt, int on) noexcept;

}  // namespace ruvex
