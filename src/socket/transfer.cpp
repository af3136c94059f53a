#include "ruvex/socket/transfer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>

#include "steps.h"

namespace ruvex {
namespace {

constexpr std::int64_t no_limit = 0;

// The time-out of receives, in milliseconds.
std::int64_t receive_limit(int fd) noexcept {
  timeval limit = {};
  socklen_t size = sizeof limit;
  if (::getsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, &size) != 0) return no_limit;
  if (size != sizeof limit) return no_limit;  // an emulator does not tell
  return std::int64_t{limit.tv_sec} * 1000 + (limit.tv_usec + 999) / 1000;
}

// Waits for input until `deadline`, whatever interrupts it. False with EAGAIN, as the receive
// itself would end, when the time has passed.
bool wait_for_input(int fd, moment deadline) noexcept {
  pollfd input = {fd, POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&input, 1, static_cast<int>(std::min<long>(ms_until(deadline), INT_MAX)));
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) errno = EAGAIN;
  return ready > 0;
}

// Calls `receive` with flags until a signal does not interrupt it. An interrupted receive would
// begin its time-out anew, so what is left of it is waited out here.
template <class Receive>
ssize_t repeat_interrupted(int fd, Receive receive) noexcept {
  const moment start = std::chrono::steady_clock::now();
  for (int flags = 0;;) {
    const ssize_t got = receive(flags);
    if (got >= 0 || (errno != EINTR && (flags == 0 || errno != EAGAIN))) return got;
    const std::int64_t limit = receive_limit(fd);
    if (limit == no_limit) continue;
    if (!wait_for_input(fd, later(start, limit))) return -1;
    flags = MSG_DONTWAIT;  // another may have taken what was there
  }
}

// Receives; when something has come, the sender's address replaces `sender`, where that is not
// null. The whole address is replaced: the system writes no more of it than the sender's address
// has, and what an earlier, longer name left would become part of this one.
ssize_t receive_from(const Socket& skt, void* buf, std::size_t len, skt_address* sender) noexcept {
  skt_address from = {};
  auto size = static_cast<socklen_t>(skt.m_addrlen);
  const ssize_t got = repeat_interrupted(skt.m_sock, [&](int flags) {
    return ::recvfrom(skt.m_sock, buf, len, flags, sender != nullptr ? &from.any : nullptr,
                      sender != nullptr ? &size : nullptr);
  });
  if (got >= 0 && sender != nullptr) *sender = from;
  return got;
}

ssize_t receive(const Socket& skt, void* buf, std::size_t len) noexcept {
  skt_address unwanted;
  switch (skt.m_type) {
    case SOCK_STREAM:
    case SOCK_RAW:
      return receive_from(skt, buf, len, nullptr);
    case SOCK_PACKET:
      return receive_from(skt, buf, len, &unwanted);
    default:
      if (skt.m_mode == SKT_PSEUDO) return ::read(skt.m_sock, buf, len);
      return receive_from(skt, buf, len,
                          skt.m_mode == SKT_SERVER ? skt.m_destaddr : skt.m_fromaddr);
  }
}

ssize_t send(const Socket& skt, const void* buf, std::size_t len) noexcept {
  if (skt.m_type == SOCK_STREAM) return ::send(skt.m_sock, buf, len, 0);
  if (skt.m_mode == SKT_PSEUDO) return ::write(skt.m_sock, buf, len);
  return ::sendto(skt.m_sock, buf, len, 0, &skt.m_destaddr->any,
                  static_cast<socklen_t>(skt.m_addrlen));
}

// Whether a transfer may be tried.
bool is_length(int len) noexcept {
  if (len >= 0) return true;
  errno = EINVAL;
  return false;
}

bool lacks_connection(const Socket& skt) noexcept {
  return skt.m_type == SOCK_STREAM && skt.m_connected == 0;
}

}  // namespace

int sktRecv(Socket* skt, void* buf, int len) noexcept {
  if (lacks_connection(*skt)) return refused("Socket::Recv():Socket not connected\n");
  const ssize_t got = is_length(len) ? receive(*skt, buf, static_cast<std::size_t>(len)) : -1;
  if (got >= 0) return static_cast<int>(got);
  if (errno == EAGAIN) return skt_would_block;
  return failed(skt->m_type == SOCK_STREAM ? "Socket::Recv():recv()" : "Socket::Recv():recvfrom()");
}

int sktSendN(Socket* skt, const void* buf, int len) noexcept {
  if (lacks_connection(*skt)) return refused("Socket::Send():Socket not connected\n");
  const ssize_t sent = is_length(len) ? send(*skt, buf, static_cast<std::size_t>(len)) : -1;
  if (sent >= 0) return static_cast<int>(sent);
  if (errno == EAGAIN) return skt_would_block;
  return errno == EPIPE ? 0 : failed("Socket::Send()");
}

int sktSendC(Socket* skt, char c) noexcept {
  return sktSendN(skt, &c, 1);
}

int sktSendS(Socket* skt, const char* text) noexcept {
  return sktSendN(skt, text, static_cast<int>(std::strlen(text)));
}

int sktOpenStreams(Socket* skt) noexcept {
  if (skt->m_fin == nullptr) skt->m_fin = ::fdopen(skt->m_sock, "r");
  if (skt->m_fin == nullptr) return -1;
  if (skt->m_fout != nullptr) return 0;
  const int duplicate = ::fcntl(skt->m_sock, F_DUPFD_CLOEXEC, 0);
  if (duplicate < 0) return -1;
  skt->m_fout = ::fdopen(duplicate, "w");
  if (skt->m_fout != nullptr) return 0;
  ::close(duplicate);
  return -1;
}

}  // namespace ruvex
