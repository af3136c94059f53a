#include "ruvex/socket/bind.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "ruvex/socket/options.h"
#include "steps.h"

namespace ruvex {
namespace {

int bind_to_own_address(const Socket& skt) noexcept {
  const int result =
      ::bind(skt.m_sock, &skt.m_sockaddr->any, static_cast<socklen_t>(skt.m_addrlen));
  return result == 0 ? 0 : failed("bind()");
}

// Binds to a port of a dotted address, or of any where `ip_text` is null.
int bind_inet(Socket& skt, const char* ip_text, int port) noexcept {
  if (skt.m_family == AF_LOCAL) return refused("Socket::Bind(): Must be AF_INET socket\n");
  skt.m_port = port;
  in_addr address = {INADDR_ANY};
  if (ip_text != nullptr && ::inet_aton(ip_text, &address) == 0) {
    errno = EINVAL;  // which inet_aton does not set
    return failed("inet_aton()");
  }
  sockaddr_in& own = skt.m_sockaddr->inet;
  own.sin_addr = address;
  own.sin_port = htons(static_cast<std::uint16_t>(port));
  return bind_to_own_address(skt);
}

// Makes m_name a name that nobody else has: mkstemp finds it by making a file, which is removed at
// once. The abstract name of the same text is then free as well, unless another has taken it on its
// own.
bool generate_name(Socket& skt, const char* name) noexcept {
  constexpr std::size_t added = sizeof "/tmp/_XXXXXX" - 1;
  char stored[longest_local_name - added + 1];
  char path[sizeof skt.m_name];
  if (!store(stored, sizeof stored, name)) return false;
  std::snprintf(path, sizeof path, "/tmp/%s_XXXXXX", stored);
  store(skt.m_name, sizeof skt.m_name, path);
  const int fd = ::mkstemp(skt.m_name);
  if (fd < 0) {
    skt.m_name[0] = '\0';
    std::fprintf(stderr, "Socket::Socket():Bad client name: %s\n", path);
    return false;
  }
  ::unlink(skt.m_name);
  ::close(fd);
  return true;
}

}  // namespace

int sktBind_IFE_PORT(Socket* skt, const char* ip_text, int port) noexcept {
  return bind_inet(*skt, ip_text, port);
}

int sktBind_PORT(Socket* skt, int port) noexcept {
  return bind_inet(*skt, nullptr, port);
}

int sktBind_LOCAL(Socket* skt, const char* name) noexcept {
  if (skt->m_family == AF_INET) return refused("sktBind_LOCAL(): Must be AF_LOCAL socket\n");
  if (name == nullptr) return refused("sktBind_LOCAL():Null hostname\n");
  if (!set_local_name(*skt->m_sockaddr, name)) return -1;
  const int result = ::bind(skt->m_sock, &skt->m_sockaddr->any, sizeof(sockaddr_un));
  return result == 0 ? 0 : failed("bind()");
}

int sktListen(Socket* skt) noexcept {
  constexpr int backlog = 5;
  if (skt->m_type != SOCK_STREAM) return -1;
  return ::listen(skt->m_sock, backlog) == 0 ? 0 : failed("listen()");
}

Socket* CreateAfInetServer(int type, const char* ip_text, int port) noexcept {
  socket_ptr skt(sktNew(AF_INET, type));
  if (skt == nullptr) return nullptr;
  skt->m_mode = SKT_SERVER;
  if (sktReuse(skt.get(), 1) != 0 || bind_inet(*skt, ip_text, port) != 0) return nullptr;
  if (type == SOCK_STREAM && sktListen(skt.get()) != 0) return nullptr;
  return skt.release();
}

Socket* sktNew_LOCAL(int type, int server, const char* name) noexcept {
  if (name == nullptr || name[0] == '\0') return nullptr;
  socket_ptr skt(sktNew(AF_LOCAL, type));
  if (skt == nullptr) return nullptr;
  skt->m_mode = server;
  const bool is_server = server == SKT_SERVER;
  const bool is_named =
      is_server ? store(skt->m_name, longest_local_name + 1, name) : generate_name(*skt, name);
  if (!is_named) return nullptr;
  if (sktBind_LOCAL(skt.get(), skt->m_name) != 0) return nullptr;
  if (is_server) sktListen(skt.get());
  return skt.release();
}

}  // namespace ruvex
