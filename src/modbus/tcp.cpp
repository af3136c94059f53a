#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "ruvex/modbus/line.h"
#include "wait.h"

namespace ruvex {
namespace {

struct addresses_delete {
  void operator()(addrinfo* list) const noexcept { ::freeaddrinfo(list); }
};
using address_list = std::unique_ptr<addrinfo, addresses_delete>;

// Null with errno.
address_list resolve(const mod_tcp_server& server) noexcept {
  addrinfo wanted = {};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int result = ::getaddrinfo(server.host, server.service, &wanted, &found);
  if (result == 0) return address_list(found);
  if (result == EAI_SYSTEM) return nullptr;
  errno = result == EAI_AGAIN ? EAGAIN : result == EAI_MEMORY ? ENOMEM : ENXIO;
  return nullptr;
}

// 0, or the errno of why the connection has not come about by the deadline.
int finish_connecting(int fd, std::int64_t deadline) noexcept {
  if (!wait_for_events(fd, POLLOUT, deadline)) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// A descriptor, or -1 with errno.
int connect_to(const addrinfo& address, std::int64_t deadline) noexcept {
  const int fd = ::socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) return -1;
  int error = 0;
  if (::connect(fd, address.ai_addr, address.ai_addrlen) != 0) {
    // An interrupted connect goes on as one in progress does.
    const bool goes_on = errno == EINPROGRESS || errno == EINTR;
    error = goes_on ? finish_connecting(fd, deadline) : errno;
  }
  // A request is one small segment: it has nothing to wait for.
  const int at_once = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &at_once, sizeof at_once);
  if (error == 0) return fd;
  ::close(fd);
  errno = error;
  return -1;
}

}  // namespace

int mod_tcpOpen(void* server, std::int32_t timeout_ms) noexcept {
  const std::int64_t deadline = now_ms() + timeout_ms;
  const address_list list = resolve(*static_cast<const mod_tcp_server*>(server));
  int fd = -1;
  for (const addrinfo* next = list.get(); next != nullptr && fd < 0; next = next->ai_next) {
    fd = connect_to(*next, deadline);
  }
  return fd;
}

}  // namespace ruvex
