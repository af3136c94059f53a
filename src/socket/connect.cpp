#include "ruvex/socket/connect.h"

#include <fcntl.h>
#include <netdb.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "steps.h"

namespace ruvex {
namespace {

// Fetches and reports the error that a connect has left; whether there is none.
bool ended_well(int fd) noexcept {
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) < 0) {
    failed("sktConnectAddr(): getsockopt() < 0");
    return false;
  }
  if (error == 0) return true;
  errno = error;
  failed("sktConnectAddr(): getsockopt() : Perror(error) ");
  return false;
}

// Waits for a connect in progress; whether it has succeeded. The sets alone do not tell: a
// connection that is refused is both readable and writable, but so is one over which the peer has
// sent already. The two count as failed alike, and the pending error tells them apart.
bool finish_connect(int fd, long timeout_ms) noexcept {
  bool readable = false, writable = false;
  const int ready = wait_for(fd, &readable, &writable, timeout_ms);
  if (ready < 0) return false;
  if (ready == 0) {
    refused("sktConnectAddr(): select : Nothing ready within timeout period\r\n");
    return false;
  }
  if (!readable && !writable) {
    refused("sktConnectAddr(): socket not readable or writable\r\n");
    return false;
  }
  if (readable && writable) {
    refused("sktConnectAddr(): select() returned both readable and writable\r\n");
    ended_well(fd);
    return false;
  }
  return ended_well(fd);
}

// Ends an attempt that has failed or still goes on, and drops its errors. An attempt that timed out
// goes on in the system, which refuses the next one until then; connecting to AF_UNSPEC ends it.
// What a router or the own system says of a host stands in the error queue as well (Linux 5.17 and
// later), and while it is there, every wait tells of an error.
void give_up_connect(int fd) noexcept {
  sockaddr nowhere = {};
  nowhere.sa_family = AF_UNSPEC;
  static_cast<void>(::connect(fd, &nowhere, sizeof nowhere));
  int error = 0;
  socklen_t size = sizeof error;
  ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
  char unwanted = 0;
  while (::recv(fd, &unwanted, sizeof unwanted, MSG_ERRQUEUE | MSG_DONTWAIT) >= 0) continue;
}

void set_peer(Socket& skt, const skt_address& address, int port) noexcept {
  if (skt.m_family == AF_LOCAL) {
    std::memcpy(skt.m_peeraddr, &address, sizeof(sockaddr_un));
    return;
  }
  std::memcpy(skt.m_peeraddr, &address, sizeof(sockaddr_in));
  skt.m_peeraddr->inet.sin_port = htons(static_cast<std::uint16_t>(port));
}

// The errno that tells what getaddrinfo has told; for a name that nobody knows it leaves none.
int errno_of(int resolver_error) noexcept {
  switch (resolver_error) {
    case EAI_SYSTEM:
      return errno;
    case EAI_AGAIN:
      return EAGAIN;
    case EAI_MEMORY:
      return ENOMEM;
    default:
      return ENXIO;
  }
}

enum class answer { accepted, none, failed };

// Accepts into a record that has no descriptor yet. A failure is reported with the label, except
// for a call that would block or was interrupted: none.
answer accept_into(Socket& skt, int listener, const char* label) noexcept {
  auto size = static_cast<socklen_t>(skt.m_addrlen);
  skt.m_sock = ::accept4(listener, &skt.m_sockaddr->any, &size, SOCK_CLOEXEC);
  if (skt.m_sock < 0) {
    if (errno == EAGAIN || errno == EINTR) return answer::none;
    failed(label);
    return answer::failed;
  }
  skt.m_addrlen = static_cast<int>(size);
  skt.m_valid = 1;
  skt.m_connected = 1;
  return answer::accepted;
}

// The turn at a listener, which one process at a time has. It is a record lock on the descriptor:
// the system keeps it by process, takes it back from one that ends, and changes nothing that other
// processes see of the listener.
class turn {
 public:
  explicit turn(int listener) noexcept : listener_(listener) {
    constexpr useconds_t pause_us = 100;  // many times what a turn takes
    constexpr int most_tries = 100;       // one that is stopped in its turn keeps it
    for (int tries = 0; !is_mine_ && tries < most_tries; ++tries) {
      // Where the system does not let a socket be locked, nobody waits for a turn.
      is_mine_ = lock(F_WRLCK) == 0 || errno != EAGAIN;
      if (!is_mine_) ::usleep(pause_us);
    }
  }
  ~turn() {
    if (is_mine_) lock(F_UNLCK);
  }
  turn(const turn&) = delete;
  turn& operator=(const turn&) = delete;
  bool is_mine() const noexcept { return is_mine_; }

 private:
  int lock(short type) const noexcept {
    struct flock whole = {};
    whole.l_type = type;
    whole.l_whence = SEEK_SET;
    return ::fcntl(listener_, F_SETLK, &whole);
  }
  int listener_;
  bool is_mine_ = false;
};

// Waits for a connection until the time limit is over, whatever interrupts it: as wait_for.
int wait_for_connection(int listener, long timeout_ms) noexcept {
  const moment deadline = later(std::chrono::steady_clock::now(), timeout_ms);
  bool readable = false;
  for (long left = timeout_ms;; left = ms_until(deadline)) {
    const int ready = wait_for(listener, &readable, nullptr, left);
    if (ready >= 0 || errno != EINTR) return ready;
  }
}

// Accepts what has made the listener readable. Of several processes that have seen it, one takes
// the connection, and in the others a blocking listener would wait for the next one without end. So
// each looks again in its turn, in which no other takes what is there.
answer accept_in_turn(Socket& skt, int listener) noexcept {
  const turn mine(listener);
  if (!mine.is_mine() || wait_for_connection(listener, 0) <= 0) return answer::none;
  return accept_into(skt, listener, "Socket::Accept(long):accept()");
}

}  // namespace

int sktConnectAddr(Socket* skt, const skt_address* addr, int port, long timeout_ms) noexcept {
  if (skt->m_type != SOCK_STREAM) {
    return refused("sktConnectAddr():Socket must be SOCK_STREAM\n");
  }
  if (skt->m_connected != 0) {  // the system may have forgotten it, when the peer has gone
    errno = EISCONN;
    return failed("fcntl( F_SETFL , O_NONBLOCK )");
  }
  if (!fits_set(skt->m_sock)) {  // the wait would refuse it without a word
    std::fprintf(stderr, "sktConnectAddr(): descriptor %d is beyond those of select\r\n",
                 skt->m_sock);
    return -1;
  }
  int flags = 0;
  if (set_nonblocking(skt->m_sock, true, flags) != 0) return -1;
  set_peer(*skt, *addr, port);
  bool connected =
      ::connect(skt->m_sock, &skt->m_peeraddr->any, static_cast<socklen_t>(skt->m_addrlen)) == 0;
  if (!connected && errno != EINPROGRESS) {  // reported under the label of fcntl, too
    failed("fcntl( F_SETFL , O_NONBLOCK )");
    ::fcntl(skt->m_sock, F_SETFL, flags);
    return -1;
  }
  if (!connected) {
    connected = finish_connect(skt->m_sock, timeout_ms);
    if (!connected) give_up_connect(skt->m_sock);
  }
  if (::fcntl(skt->m_sock, F_SETFL, flags) != 0) return failed("fcntl( F_SETFL , original_flags )");
  if (!connected) return -1;
  skt->m_connected = 1;
  return 0;
}

int sktConnectHost(Socket* skt, const char* host, int port, long timeout_ms) noexcept {
  skt_address address = {};
  if (skt->m_family == AF_LOCAL) {
    if (!set_local_name(address, host)) return -1;
    return sktConnectAddr(skt, &address, port, timeout_ms);
  }
  char service[16];
  std::snprintf(service, sizeof service, "%d", port);
  addrinfo wanted = {};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (const int error = ::getaddrinfo(host, service, &wanted, &found); error != 0) {
    errno = errno_of(error);
    return failed("getaddrinfo()");
  }
  std::memcpy(&address, found->ai_addr, sizeof address.inet);
  ::freeaddrinfo(found);
  return sktConnectAddr(skt, &address, port, timeout_ms);
}

Socket* sktAccept(Socket* skt) noexcept {
  socket_ptr accepted = make_record(skt->m_family, skt->m_type, 0);
  if (accepted == nullptr) return nullptr;
  const answer got = accept_into(*accepted, skt->m_sock, "Socket::Accept(void):accept()");
  return got == answer::accepted ? accepted.release() : nullptr;
}

Socket* sktAcceptTimeout(Socket* skt, long timeout_ms) noexcept {
  socket_ptr accepted = make_record(skt->m_family, skt->m_type, 0);
  if (accepted == nullptr) return nullptr;
  const moment deadline = later(std::chrono::steady_clock::now(), timeout_ms);
  for (long left = timeout_ms;; left = ms_until(deadline)) {
    const int ready = wait_for_connection(skt->m_sock, left);
    if (ready < 0) failed("Socket::Accept(long):select()");
    if (ready <= 0) return nullptr;
    const answer got = accept_in_turn(*accepted, skt->m_sock);
    if (got == answer::accepted) return accepted.release();
    if (got == answer::failed || ms_until(deadline) == 0) return nullptr;
  }
}

int sktSelectRd(int count, Socket* const* skts, long timeout_ms) noexcept {
  Socket* const* const end = skts + std::max(count, 0);
  fd_set readable;
  FD_ZERO(&readable);
  std::for_each(skts, end, [](Socket* skt) { skt->m_selected = 0; });  // also of what is refused
  if (!std::all_of(skts, end, [](const Socket* skt) { return fits_set(skt->m_sock); })) {
    errno = EINVAL;
    return failed("Socket::SelectRd():select()");
  }
  std::for_each(skts, end, [&](const Socket* skt) { FD_SET(skt->m_sock, &readable); });
  timeval time = time_of(timeout_ms);
  const int ready = ::select(FD_SETSIZE, &readable, nullptr, nullptr, &time);
  if (ready < 0) return failed("Socket::SelectRd():select()");
  if (ready == 0) return 0;
  std::for_each(skts, end,
                [&](Socket* skt) { skt->m_selected = FD_ISSET(skt->m_sock, &readable) ? 1 : 0; });
  return ready;
}

int sktIsSelected(const Socket* skt) noexcept {
  return skt != nullptr && skt->m_selected != 0 ? 1 : 0;
}

}  // namespace ruvex
