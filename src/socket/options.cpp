#include "ruvex/socket/options.h"

#include <net/if.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>

#include "steps.h"

namespace ruvex {
namespace {

template <class Value>
int set_option(const Socket& skt, int option, Value value, const char* label) noexcept {
  const int result = ::setsockopt(skt.m_sock, SOL_SOCKET, option, &value, sizeof value);
  return result == 0 ? 0 : failed(label);
}

}  // namespace

int sktSetNonblocking(Socket* skt, int on) noexcept {
  int before = 0;
  return set_nonblocking(skt->m_sock, on != 0, before);
}

int sktSetBcast(Socket* skt, int on) noexcept {
  if (skt->m_type != SOCK_DGRAM) {
    return refused("Socket::SetBcast():Operation attempted on TCP socket...\n");
  }
  int present = 0;
  socklen_t size = sizeof present;
  if (::getsockopt(skt->m_sock, SOL_SOCKET, SO_BROADCAST, &present, &size) != 0) {
    return failed("getsockopt( SO_BROADCAST )");
  }
  return set_option(*skt, SO_BROADCAST, on, "setsockopt( SO_BROADCAST )");
}

int sktSetTimeouts(Socket* skt, int rcv_ms, int snd_ms) noexcept {
  if (rcv_ms != 0 &&
      set_option(*skt, SO_RCVTIMEO, time_of(rcv_ms), "setsockopt( SO_RCVTIMEO )") != 0) {
    return -1;
  }
  if (snd_ms == 0) return 0;
  return set_option(*skt, SO_SNDTIMEO, time_of(snd_ms), "setsockopt( SO_SNDTIMEO )");
}

int sktReuse(Socket* skt, int on) noexcept {
  return set_option(*skt, SO_REUSEADDR, on, "setsockopt( SO_REUSEADDR )");
}

int sktSetTcpNodelay(Socket* skt, int on) noexcept {
  const int value = on != 0 ? 1 : 0;
  ::setsockopt(skt->m_sock, IPPROTO_TCP, TCP_NODELAY, &value, sizeof value);
  return 0;
}

int sktSetPromiscuous(Socket* skt, int on) noexcept {
  ifreq request = {};
  if (skt->m_ife[0] == '\0') {
    return refused("Socket::SetPromiscuous():no interface specified");
  }
  if (!store(request.ifr_name, sizeof request.ifr_name, skt->m_ife)) return -1;
  if (::ioctl(skt->m_sock, SIOCGIFFLAGS, &request) != 0) {
    return failed("Socket::SetPromiscuous():ioctl(SIOCGIFFLAGS)");
  }
  const int flags = on != 0 ? request.ifr_flags | IFF_PROMISC : request.ifr_flags & ~IFF_PROMISC;
  request.ifr_flags = static_cast<short>(flags);
  if (::ioctl(skt->m_sock, SIOCSIFFLAGS, &request) != 0) {
    return failed("Socket::SetPromiscuous():ioctl(SIOCSIFFLAGS)");
  }
  return 0;
}

}  // namespace ruvex
