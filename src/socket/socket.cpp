#include "ruvex/socket/socket.h"

#include <net/if.h>
#include <sys/ioctl.h>

#include <cstdint>

#include "steps.h"

namespace ruvex {

Socket* sktInit(int family, int type, int protocol) noexcept {
  socket_ptr skt = make_record(family, type, protocol);
  if (skt == nullptr) return nullptr;
  skt->m_sock = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (skt->m_sock < 0) {
    failed("socket()");
    return nullptr;
  }
  skt->m_valid = 1;
  return skt.release();
}

Socket* sktNew(int family, int type) noexcept {
  return sktInit(family, type, 0);
}

Socket* sktNew_PSEUDO(int fd) noexcept {
  socket_ptr skt = make_record(AF_LOCAL, SOCK_DGRAM, 0);
  if (skt == nullptr) return nullptr;
  skt->m_mode = SKT_PSEUDO;
  skt->m_sock = fd;
  skt->m_valid = 1;
  return skt.release();
}

Socket* sktNew_RAW(const char* ifname, int protocol) noexcept {
  ifreq request = {};
  if (!store(request.ifr_name, sizeof request.ifr_name, ifname)) return nullptr;
  socket_ptr skt(sktInit(AF_PACKET, SOCK_RAW, htons(static_cast<std::uint16_t>(protocol))));
  if (skt == nullptr) return nullptr;
  store(skt->m_ife, sizeof skt->m_ife, ifname);
  if (::ioctl(skt->m_sock, SIOCGIFINDEX, &request) != 0) {
    failed("ioctl");
    return nullptr;
  }
  skt->m_destaddr->link.sll_ifindex = request.ifr_ifindex;
  return skt.release();
}

Socket* sktNew_ARCNET(const char* ifname) noexcept {
  constexpr std::uint16_t all_protocols = 3;  // ETH_P_ALL
  constexpr sa_family_t arcnet_hardware = 7;  // ARPHRD_ARCNET
  sockaddr device = {};
  device.sa_family = arcnet_hardware;
  if (!store(device.sa_data, sizeof device.sa_data, ifname)) return nullptr;
  socket_ptr skt(sktInit(AF_PACKET, SOCK_PACKET, htons(all_protocols)));
  if (skt == nullptr) return nullptr;
  skt->m_destaddr->any = device;
  if (::bind(skt->m_sock, &device, static_cast<socklen_t>(skt->m_addrlen)) != 0) {
    failed("bind");
    return nullptr;
  }
  return skt.release();
}

}  // namespace ruvex
