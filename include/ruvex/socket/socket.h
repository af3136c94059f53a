// Sockets: one record that carries a descriptor together with its family, type, role and addresses.
//
//   socket.h    the record; made, closed
//   address.h   destinations, peers, dotted texts, network interfaces
//   options.h   modes and options of a descriptor
//   bind.h      local addresses, listening, servers, local sockets
//   connect.h   connecting and accepting within a time limit, waiting for input
//   transfer.h  sending and receiving
//
// Failures are reported on standard error, as the system's text behind a label (perror) or as a
// fixed text, and by the result: -1 or null, unless a function says otherwise. Functions take a
// record, not null, unless they say otherwise. A record is used by one thread at a time.
//
// Families are AF_INET, AF_LOCAL and AF_PACKET. A local name is one of the abstract namespace: no
// file is made for it. It stands behind a NUL in the path of its address, at most 107 characters,
// and all 110 bytes of the address count, so names are equal only when all of them are. What does
// not fit (a local name, an interface name of more than 15 characters) is refused with a message
// and never cut.
#pragma once

#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdint>
#include <cstdio>
#include <memory>

namespace ruvex {

// An address of any of the families.
union skt_address {
  sockaddr any;
  sockaddr_in inet;
  sockaddr_un local;
  sockaddr_ll link;
};

// m_mode: the role.
enum skt_mode : int { SKT_CLIENT = 0, SKT_SERVER = 1, SKT_PSEUDO = 2 };

// To be read by callers; m_ife may be set too, before sktSetPromiscuous.
struct Socket {
  int m_connected;    // 1 once a stream socket is connected
  int m_valid;        // 1: there is a descriptor
  int m_selected;     // set by sktSelectRd
  int m_sock;         // the descriptor
  std::FILE* m_fin;   // read stream on the descriptor, or null (sktOpenStreams)
  std::FILE* m_fout;  // write stream on a duplicate of it, or null
  int m_family;
  int m_type;
  int m_protocol;
  int m_mode;               // a skt_mode
  int m_port;               // last given to an IPv4 bind
  char m_ife[128];          // network interface
  char m_name[128];         // name that a local socket is bound to
  int m_addrlen;            // bytes of an address of this family that count
  skt_address* m_sockaddr;  // local address; of an accepted socket the peer's
  skt_address* m_peeraddr;  // what a stream socket connects to; null with AF_PACKET
  skt_address* m_fromaddr;  // sender of what a client received last; null with AF_PACKET
  skt_address* m_destaddr;  // where datagrams go; a server's receiving puts the sender here
};

// Makes a socket: SOCK_STREAM, SOCK_DGRAM or SOCK_RAW, with AF_PACKET SOCK_RAW or SOCK_PACKET. Its
// addresses are empty but for the family. The caller owns it (socket_ptr, sktClose). Null on
// failure; nothing then stays open or allocated. Standard error holds:
//   Socket::Init():Illegal family: 5                  and the next one
//   Socket::Init():Error:'m_sockaddr == 0'            family and type do not go together, or no
//                                                     memory for the address
//   perror socket()
// The descriptor is closed in programs that the process starts (close-on-exec).
Socket* sktInit(int family, int type, int protocol) noexcept;

// The same with protocol 0.
Socket* sktNew(int family, int type) noexcept;

// Wraps a descriptor (a pipe, a terminal, another socket), which sktSendN and sktRecv then write
// and read. It belongs to the record from then on; with null it stays the caller's.
Socket* sktNew_PSEUDO(int fd) noexcept;

// A raw link-layer socket, whose frames go out on the interface. `protocol` is an Ethernet protocol
// number, of which the low 16 bits count. Null: as sktInit, or perror ioctl where there is no such
// interface.
Socket* sktNew_RAW(const char* ifname, int protocol) noexcept;

// An ARCNET packet socket bound to the interface, whose name has at most 13 characters. Null: as
// sktInit, or perror bind.
Socket* sktNew_ARCNET(const char* ifname) noexcept;

// Closes descriptor and streams, removes the file of a client's m_name, should there be one, and
// releases the record. Null is allowed.
void sktClose(Socket* skt) noexcept;

// Owns a socket.
struct socket_close {
  void operator()(Socket* skt) const noexcept { sktClose(skt); }
};
using socket_ptr = std::unique_ptr<Socket, socket_close>;

}  // namespace ruvex
