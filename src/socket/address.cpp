#include "ruvex/socket/address.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netdb.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "steps.h"

namespace ruvex {
namespace {

in_addr_t inet_address(const sockaddr& address) noexcept {
  sockaddr_in inet;
  std::memcpy(&inet, &address, sizeof inet);
  return inet.sin_addr.s_addr;
}

// One request about an interface; -1 and reported when it fails.
int ask(int fd, unsigned request, const char* ifname, ifreq& answer, const char* label) noexcept {
  if (!store(answer.ifr_name, sizeof answer.ifr_name, ifname)) return -1;
  return ::ioctl(fd, request, &answer) == 0 ? 0 : failed(label);
}

// The IPv4 address of an interface among the first eight; 1 when it is not there.
int find_interface(int fd, const char* ifname, in_addr_t& address) noexcept {
  ifreq entries[8] = {};
  ifconf list = {};
  list.ifc_len = sizeof entries;
  list.ifc_req = entries;
  if (::ioctl(fd, SIOCGIFCONF, &list) != 0) return failed("ioctl:SIOCGIFCONF");
  const ifreq* const entry = std::find_if(std::begin(entries), std::end(entries), [&](auto& at) {
    return std::strncmp(at.ifr_name, ifname, sizeof at.ifr_name) == 0 && ifname[0] != '\0';
  });
  if (entry == std::end(entries)) return 1;
  address = inet_address(entry->ifr_addr);
  return 0;
}

int ask_for_rest(int fd, const char* ifname, ife_info& info) noexcept {
  ifreq answer = {};
  if (ask(fd, SIOCGIFNETMASK, ifname, answer, "ioctl:SIOCGIFNETMASK") != 0) return -1;
  info.if_netmask = inet_address(answer.ifr_netmask);
  if (ask(fd, SIOCGIFBRDADDR, ifname, answer, "ioctl:SIOCGIFBRDADDR") != 0) return -1;
  info.if_broadaddr = inet_address(answer.ifr_broadaddr);
  if (ask(fd, SIOCGIFHWADDR, "eth0", answer, "ioctl:SIOCGIFHWADDR") != 0) return -1;
  std::memcpy(info.if_hwaddr, answer.ifr_hwaddr.sa_data, sizeof info.if_hwaddr);
  return 0;
}

// The re-entrant call: sockets of several threads may look up at once.
bool resolve(const char* host, in_addr& address) noexcept {
  alignas(char*) char storage[16384];  // more than the addresses of a host take
  hostent entry;
  hostent* found = nullptr;
  int reason = 0;
  ::gethostbyname_r(host, &entry, storage, sizeof storage, &found, &reason);
  if (found == nullptr || found->h_addr_list[0] == nullptr) return false;
  std::memcpy(&address, found->h_addr_list[0], sizeof address);
  return true;
}

}  // namespace

int sktSetDest(Socket* skt, const char* host, int port) noexcept {
  if (skt->m_family == AF_LOCAL) return set_local_name(*skt->m_destaddr, host) ? 0 : -1;
  sktSetDest_PORT(skt, port);
  skt->m_destaddr->inet.sin_family = AF_INET;
  if (resolve(host, skt->m_destaddr->inet.sin_addr)) return 0;
  std::fprintf(stderr, "Unknown host %s.\n", host);
  return -1;
}

int sktSetDest_ADDR(Socket* skt, const skt_address* address) noexcept {
  const std::size_t size = skt->m_family == AF_LOCAL ? sizeof(sockaddr_un) : sizeof(sockaddr_in);
  std::memcpy(skt->m_destaddr, address, size);
  return 0;
}

void sktSetDest_PORT(Socket* skt, int port) noexcept {
  skt->m_destaddr->inet.sin_port = htons(static_cast<std::uint16_t>(port));
}

in_addr_t sktGetPeerAddr(const Socket* skt) noexcept {
  if (skt->m_family == AF_LOCAL || skt->m_type != SOCK_STREAM) return 0;
  skt_address peer = {};
  socklen_t size = sizeof peer.inet;
  ::getpeername(skt->m_sock, &peer.any, &size);
  return peer.inet.sin_addr.s_addr;
}

in_addr_t string_to_in_addr(const char* text) noexcept {
  in_addr address = {};
  return ::inet_aton(text, &address) != 0 ? address.s_addr : 0;
}

const char* in_addr_to_string(in_addr_t address) noexcept {
  return ::inet_ntoa({address});
}

in_addr_t ife_to_in_addr(const char* ifname) noexcept {
  ifreq answer = {};
  const socket_ptr skt(sktNew(AF_INET, SOCK_DGRAM));
  if (skt == nullptr) return 0;
  ask(skt->m_sock, SIOCGIFADDR, ifname, answer, "ioctl");
  return inet_address(answer.ifr_addr);
}

int get_ife_info(const char* ifname, ife_info* info) noexcept {
  *info = {};
  const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return failed("socket()");
  int result = find_interface(fd, ifname, info->if_addr);
  if (result == 0) result = ask_for_rest(fd, ifname, *info);
  ::close(fd);
  return result;
}

void Perror(const char* text) noexcept {
  std::perror(text);
}

}  // namespace ruvex
