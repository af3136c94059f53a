// Sockets: one record that carries a descriptor together with its family, type, role and addresses.
//
//   record.h    the record, its addresses, and closing it
//   socket.h    making sockets
//   address.h   destinations, peers, dotted texts, network interfaces
//   options.h   modes and options of a descriptor
//   bind.h      local addresses, listening, servers, local sockets
//   connect.h   connecting and accepting within a time limit, waiting for input
//   transfer.h  sending and receiving
//
// Failures are reported on standard error and by the result: -1 or null, unless a function says
// otherwise. "perror LABEL" stands for a line of the label, ": " and the system's text for the
// error; other texts end with a line, unless a function says otherwise. Functions take a record,
// not null, unless they say otherwise. A record is used by one thread at a time; separate records
// may be used by separate threads.
//
// Families are AF_INET, AF_LOCAL and AF_PACKET. A local name is one of the abstract namespace: no
// file is made for it. It follows a NUL in the path of its address, and has at most 107 characters.
// All 110 bytes of the address count, so names are equal only when all of these bytes are. A name
// that does not fit (a local name, an interface name of more than 15 characters) is refused and
// never cut; the message is "Socket: name of more than 107 characters: ...", with the limit and the
// name.
#pragma once

#include "ruvex/socket/record.h"

namespace ruvex {

// Makes a socket: SOCK_STREAM, SOCK_DGRAM or SOCK_RAW; of AF_PACKET SOCK_RAW or SOCK_PACKET. Its
// addresses hold the family and nothing else. The caller owns it (socket_ptr, sktClose). Null on
// failure: then nothing stays open or allocated, and standard error holds
//   Socket::Init():Illegal family: 5                  and the next one
//   Socket::Init():Error:'m_sockaddr == 0'            family and type do not go together, or there
//                                                     is no memory for the address
//   perror socket()
// Programs that the process starts do not inherit the descriptor (close-on-exec).
Socket* sktInit(int family, int type, int protocol) noexcept;

// The same with protocol 0.
Socket* sktNew(int family, int type) noexcept;

// Wraps a descriptor (a pipe, a terminal, another socket), which sktSendN and sktRecv then write
// and read. It belongs to the record from then on. Null, as sktInit without memory: then it stays
// the caller's.
Socket* sktNew_PSEUDO(int fd) noexcept;

// A raw link-layer socket, whose frames go out on the interface. `protocol` is an Ethernet protocol
// number, of which the low 16 bits count. Null: as sktInit, with perror ioctl where there is no
// such interface, or with a message for a name that does not fit.
Socket* sktNew_RAW(const char* ifname, int protocol) noexcept;

// An ARCNET packet socket bound to the interface, whose name has at most 13 characters. Null: as
// sktInit, with perror bind, or with a message for a longer name.
Socket* sktNew_ARCNET(const char* ifname) noexcept;

}  // namespace ruvex
