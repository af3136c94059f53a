// The record that every socket operation works on, and its end.
#pragma once

#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <sys/un.h>

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

// Closes descriptor and streams, removes the file of a client's m_name if there is one, and
// releases the record. Null is allowed.
void sktClose(Socket* skt) noexcept;

// Owns a socket.
struct socket_close {
  void operator()(Socket* skt) const noexcept { sktClose(skt); }
};
using socket_ptr = std::unique_ptr<Socket, socket_close>;

}  // namespace ruvex
