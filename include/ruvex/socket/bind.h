// Local addresses: binding, listening, and the servers and local sockets that bind as they are
// made.
#pragma once

#include "ruvex/socket/socket.h"

namespace ruvex {

// Bind a socket other than a local one to a port (its low 16 bits count), of a dotted address of
// this machine or of all its addresses: 0. -1 with one of these:
//   Socket::Bind(): Must be AF_INET socket     a local one
//   perror inet_aton()                         the text is no address; m_port has changed already
//   perror bind()                              m_port and m_sockaddr have changed already
int sktBind_IFE_PORT(Socket* skt, const char* ip_text, int port) noexcept;
int sktBind_PORT(Socket* skt, int port) noexcept;

// Binds a local socket to a name: 0. -1 with one of these:
//   sktBind_LOCAL(): Must be AF_LOCAL socket     an AF_INET one
//   sktBind_LOCAL():Null hostname                null
//   Socket: name of more than 107 characters: ...
//   perror bind()                                so when the name is taken; m_sockaddr holds it
int sktBind_LOCAL(Socket* skt, const char* name) noexcept;

// Listens with a backlog of 5: 0. -1: without a message for a socket other than a stream socket,
// otherwise with perror listen().
int sktListen(Socket* skt) noexcept;

// Makes a server of `type` at a port of the dotted address `ip_text`, or of all addresses of this
// machine where it is null. It has SO_REUSEADDR, is bound and, with SOCK_STREAM, listens. The
// caller owns it. Null when a step fails; the step reports why, and nothing stays open.
Socket* CreateAfInetServer(int type, const char* ip_text, int port) noexcept;

// Makes a local socket of `type`; `server` is its m_mode. With SKT_SERVER it is bound to `name` and
// listens, where its type can. With SKT_CLIENT it is bound to a name that nobody else has: "/tmp/",
// `name` (at most 95 characters), "_" and six more characters. m_name holds it, and no file stays
// at that path. The caller owns the socket. Null: without a message for a null or empty name; as
// sktInit and sktBind_LOCAL; with a message for a name that does not fit; and when no file of the
// name can be made, with
//   Socket::Socket():Bad client name: /tmp/..._XXXXXX
Socket* sktNew_LOCAL(int type, int server, const char* name) noexcept;

}  // namespace ruvex
