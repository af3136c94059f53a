// Local addresses: binding, listening, and the servers and local sockets that bind as they are
// made.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// Bind a socket that is no local one to a port (its low 16 bits count) of a dotted local address,
// or of any local address. 0. -1 and "Socket::Bind(): Must be AF_INET socket" for a local one; -1
// with perror inet_aton() (the text is no address, m_port has changed all the same) or bind().
int sktBind_IFE_PORT(Socket* skt, const char* ip_text, int port) noexcept;
int sktBind_PORT(Socket* skt, int port) noexcept;

// Binds a local socket to a name. 0. -1 and "sktBind_LOCAL(): Must be AF_LOCAL socket" for an
// AF_INET one, "sktBind_LOCAL():Null hostname" for null, a message for a name that does not fit,
// perror bind() for one that is taken.
int sktBind_LOCAL(Socket* skt, const char* name) noexcept;

// Listens with a backlog of 5. 0; -1, without a message for a socket that is no stream socket, else
// with perror listen().
int sktListen(Socket* skt) noexcept;

// Makes a server of `type` at a port of `ip_text`, or of all local addresses where it is null: with
// SO_REUSEADDR, bound and, with SOCK_STREAM, listening. The caller owns it. Null when a step fails,
// as the step says; nothing stays open.
Socket* CreateAfInetServer(int type, const char* ip_text, int port) noexcept;

// Makes a local socket of `type`; `server` is its m_mode. With SKT_SERVER it is bound to `name` and
// listens, where its type can. With SKT_CLIENT it is bound to a name that nobody else has, "/tmp/",
// `name`, "_" and six more characters, which m_name then tells; no file stays at that path. The
// caller owns it. Null: without a message for a null or empty name; with one for a name that does
// not fit or of which no file could be made ("Socket::Socket():Bad client name: ..."), and as
// sktBind_LOCAL.
Socket* sktNew_LOCAL(int type, int server, const char* name) noexcept;

}  // namespace ruvex
