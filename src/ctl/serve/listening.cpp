#include "listening.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "command.h"
#include "ruvex/socket/bind.h"
#include "ruvex/socket/options.h"
#include "ruvex/socket/record.h"
#include "text/texts.h"

namespace ruvex {
namespace {

// So that those who connect all at once are not turned away.
constexpr int waiting_connections = 1024;

// A descriptor of its own, since the record closes that of the socket.
int listen_ipv4(const std::string& address, int port) noexcept {
  const socket_ptr socket(CreateAfInetServer(SOCK_STREAM, address.c_str(), port));
  const bool is_listening = socket != nullptr && sktSetNonblocking(socket.get(), 1) == 0 &&
                            ::listen(socket->m_sock, waiting_connections) == 0;
  return is_listening ? ::fcntl(socket->m_sock, F_DUPFD_CLOEXEC, 0) : -1;
}

struct addresses_free {
  void operator()(addrinfo* list) const noexcept { ::freeaddrinfo(list); }
};
using numeric_address = std::unique_ptr<addrinfo, addresses_free>;

numeric_address ipv6_address(const std::string& text, int port) {
  addrinfo wanted = {};
  wanted.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
  wanted.ai_family = AF_INET6;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const std::string service = message(port);
  const int failure = ::getaddrinfo(text.c_str(), service.c_str(), &wanted, &found);
  if (failure != 0) complain("%s: %s", text.c_str(), ::gai_strerror(failure));
  return numeric_address(failure == 0 ? found : nullptr);
}

// The step that has failed; null where none has.
const char* bind_and_listen(int fd, const addrinfo& address) noexcept {
  const int on = 1;
  const int off = 0;
  ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
  if (::bind(fd, address.ai_addr, address.ai_addrlen) != 0) return "bind()";
  return ::listen(fd, waiting_connections) == 0 ? nullptr : "listen()";
}

int listen_ipv6(const std::string& text, int port) {
  const numeric_address address = ipv6_address(text, port);
  if (address == nullptr) return -1;
  const int fd = ::socket(AF_INET6, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  const char* const failed_step = fd < 0 ? "socket()" : bind_and_listen(fd, *address);
  if (failed_step == nullptr) return fd;
  std::perror(failed_step);
  if (fd >= 0) ::close(fd);
  return -1;
}

struct connection_end {
  std::string host = "?";
  int port = -1;
};

using naming_call = int (*)(int fd, sockaddr* address, socklen_t* size);

// A client of IPv4 has its own address, also where all addresses are listened on.
connection_end end_of(int fd, naming_call name_end) {
  constexpr std::string_view mapped = "::ffff:";
  sockaddr_storage address = {};
  socklen_t size = sizeof address;
  auto* const named = reinterpret_cast<sockaddr*>(&address);
  char host[NI_MAXHOST];
  char service[NI_MAXSERV];
  const bool is_known = name_end(fd, named, &size) == 0 &&
                        ::getnameinfo(named, size, host, sizeof host, service, sizeof service,
                                      NI_NUMERICHOST | NI_NUMERICSERV) == 0;
  if (!is_known) return {};
  std::string_view name = host;
  const bool is_mapped = name.starts_with(mapped) && name.find('.') != std::string_view::npos;
  if (is_mapped) name.remove_prefix(mapped.size());
  return {std::string(name), static_cast<int>(decimal_prefix(service))};
}

}  // namespace

int listen_at(const std::string& address, int port) {
  const bool is_ipv6 = address.find(':') != std::string::npos;
  const int fd = is_ipv6 ? listen_ipv6(address, port) : listen_ipv4(address, port);
  if (fd < 0) complain("cannot listen on %s", place_text(address, port).c_str());
  return fd;
}

int port_of(int fd) {
  return end_of(fd, ::getsockname).port;
}

std::string peer_of(int fd) {
  const connection_end peer = end_of(fd, ::getpeername);
  return place_text(peer.host, std::max(peer.port, 0));
}

std::string place_text(std::string_view address, int port) {
  const bool has_colons = address.find(':') != std::string_view::npos;
  return has_colons ? message("[", address, "]:", port) : message(address, ":", port);
}

}  // namespace ruvex
