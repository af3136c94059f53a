#include "steps.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace ruvex {
namespace {

struct form {
  int family;
  int type;  // any_type, or the one that has this form
  socklen_t length;
  int own_family;          // what the local address, the peer's and the sender's begin with
  int destination_family;  // what the destination begins with
  bool has_peers;          // peer's and sender's address
};

constexpr int any_type = -1;

constexpr form forms[] = {
    {AF_INET, any_type, sizeof(sockaddr_in), AF_INET, AF_INET, true},
    {AF_LOCAL, any_type, sizeof(sockaddr_un), AF_LOCAL, AF_LOCAL, true},
    {AF_PACKET, SOCK_RAW, sizeof(sockaddr_ll), 0, AF_PACKET, false},
    {AF_PACKET, SOCK_PACKET, sizeof(sockaddr), 0, 0, false},
};
static_assert(sizeof(sockaddr_in) == 16 && sizeof(sockaddr_un) == 110);
static_assert(sizeof(sockaddr_ll) == 20 && sizeof(sockaddr) == 16);

const form* find_form(int family, int type) noexcept {
  for (const form& row : forms) {
    if (row.family == family && (row.type == any_type || row.type == type)) return &row;
  }
  return nullptr;
}

bool is_family(int family) noexcept {
  return family == AF_INET || family == AF_LOCAL || family == AF_PACKET;
}

skt_address* make_address(int family) noexcept {
  auto* address = static_cast<skt_address*>(std::calloc(1, sizeof(skt_address)));
  if (address != nullptr) address->any.sa_family = static_cast<sa_family_t>(family);
  return address;
}

bool make_addresses(Socket& skt, const form& row) noexcept {
  skt.m_addrlen = static_cast<int>(row.length);
  skt.m_sockaddr = make_address(row.own_family);
  skt.m_destaddr = make_address(row.destination_family);
  if (row.has_peers) {
    skt.m_peeraddr = make_address(row.own_family);
    skt.m_fromaddr = make_address(row.own_family);
  }
  return skt.m_sockaddr != nullptr && skt.m_destaddr != nullptr &&
         (!row.has_peers || (skt.m_peeraddr != nullptr && skt.m_fromaddr != nullptr));
}

}  // namespace

int failed(const char* label) noexcept {
  std::perror(label);
  return -1;
}

int refused(const char* text) noexcept {
  std::fputs(text, stderr);
  return -1;
}

socket_ptr make_record(int family, int type, int protocol) noexcept {
  socket_ptr skt(static_cast<Socket*>(std::calloc(1, sizeof(Socket))));
  if (skt == nullptr) return nullptr;
  skt->m_sock = -1;
  skt->m_family = family;
  skt->m_type = type;
  skt->m_protocol = protocol;
  // An unknown family has both messages: its own, and the one of a record without an address.
  const form* row = find_form(family, type);
  const bool is_whole = row != nullptr && make_addresses(*skt, *row);
  if (row == nullptr && !is_family(family)) {
    std::fprintf(stderr, "Socket::Init():Illegal family: %d\n", family);
  }
  if (skt->m_sockaddr == nullptr) refused("Socket::Init():Error:'m_sockaddr == 0'\n");
  return is_whole ? std::move(skt) : nullptr;
}

int set_nonblocking(int fd, bool on, int& before) noexcept {
  before = ::fcntl(fd, F_GETFL);
  if (before < 0) return failed("fcntl( F_GETFL )");
  if (::fcntl(fd, F_SETFL, on ? before | O_NONBLOCK : before & ~O_NONBLOCK) == 0) return 0;
  failed("fcntl( F_SETFL , O_NONBLOCK )");
  ::fcntl(fd, F_SETFL, before);
  return -1;
}

bool store(char* to, std::size_t room, const char* text) noexcept {
  const std::size_t length = std::strlen(text);
  if (length >= room) {
    std::fprintf(stderr, "Socket: name of more than %zu characters: %s\n", room - 1, text);
    return false;
  }
  std::memcpy(to, text, length + 1);
  return true;
}

bool set_local_name(skt_address& address, const char* name) noexcept {
  // By way of a copy: the longest name fills the path and leaves no room for the NUL of `store`.
  char stored[longest_local_name + 1] = {};
  if (!store(stored, sizeof stored, name)) return false;
  address.local = {};
  address.local.sun_family = AF_LOCAL;
  std::memcpy(address.local.sun_path + 1, stored, longest_local_name);
  return true;
}

bool fits_set(int fd) noexcept {
  return fd >= 0 && fd < FD_SETSIZE;
}

timeval time_of(long milliseconds) noexcept {
  return {milliseconds / 1000, milliseconds % 1000 * 1000};
}

moment later(moment start, long long milliseconds) noexcept {
  constexpr long long longest =
      100LL * 365 * 24 * 3600 * 1000;  // the clock's own range is 292 years
  return start + std::chrono::milliseconds(std::min(milliseconds, longest));
}

long ms_until(moment deadline) noexcept {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<long>(std::clamp<long long>(left.count(), 0, LONG_MAX));
}

int wait_for(int fd, bool* readable, bool* writable, long timeout_ms) noexcept {
  if (!fits_set(fd)) {
    errno = EINVAL;
    return -1;
  }
  fd_set in, out;
  FD_ZERO(&in);
  FD_SET(fd, &in);
  out = in;
  timeval time = time_of(timeout_ms);
  const int ready = ::select(FD_SETSIZE, &in, writable != nullptr ? &out : nullptr, nullptr, &time);
  if (ready <= 0) return ready;
  *readable = FD_ISSET(fd, &in);
  if (writable != nullptr) *writable = FD_ISSET(fd, &out);
  return ready;
}

}  // namespace ruvex
