// Addresses of sockets and of network interfaces.
#pragma once

#include <netinet/in.h>

#include <cstdint>

#include "ruvex/socket/socket.h"

namespace ruvex {

// Sets where datagrams go: to a host name or dotted address and a port, of which the low 16 bits
// count. With a local socket `host` is a local name, and `port` is not used. 0. -1 and a message
// ("Unknown host ...") where the host cannot be resolved; the port has been set then. -1 and a
// message for a local name that does not fit.
int sktSetDest(Socket* skt, const char* host, int port) noexcept;

// Sets where datagrams go to an address of the socket's family: 0.
int sktSetDest_ADDR(Socket* skt, const skt_address* address) noexcept;

// Sets the port of an IPv4 destination; its address stays.
void sktSetDest_PORT(Socket* skt, int port) noexcept;

// The IPv4 address of the peer of a connected stream socket, in network byte order; 0 where there
// is none.
in_addr_t sktGetPeerAddr(const Socket* skt) noexcept;

// The address of a dotted text, in network byte order, as inet_aton reads it; 0 when the text is no
// address.
in_addr_t string_to_in_addr(const char* text) noexcept;

// The dotted text of an address, in a buffer that the next call overwrites, that of another thread
// too on some systems.
const char* in_addr_to_string(in_addr_t address) noexcept;

// The IPv4 address of a network interface, in network byte order. 0 where there is none, with
// perror ioctl, perror socket() or a message for a name that does not fit.
in_addr_t ife_to_in_addr(const char* ifname) noexcept;

// Addresses of a network interface, in network byte order.
struct ife_info {
  in_addr_t if_addr;
  in_addr_t if_netmask;
  in_addr_t if_broadaddr;
  std::uint8_t if_hwaddr[6];  // that of eth0, whichever interface is asked for
  std::uint8_t unused[2];     // zero
};
static_assert(sizeof(ife_info) == 20);

// Fills `info` for an interface: 0. 1 when it is not among the first eight that have an IPv4
// address. -1 on a failure of the system, with perror and one of these labels: socket(),
// ioctl:SIOCGIFCONF, ioctl:SIOCGIFNETMASK, ioctl:SIOCGIFBRDADDR, ioctl:SIOCGIFHWADDR. The last is
// also the answer where there is no eth0. What has not been found is zero.
int get_ife_info(const char* ifname, ife_info* info) noexcept;

// Prints the text and the system's current error on standard error, as perror.
void Perror(const char* text) noexcept;

}  // namespace ruvex
