// Sockets that leave nothing behind, and networks of our own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

#include "ruvex/socket/address.h"
#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/options.h"
#include "ruvex/socket/transfer.h"
#include "support/c_library.h"

namespace ruvex {

// What happens just before the next select; whether that then tells of a descriptor but of none in
// its sets. How long each that has found something takes to return.
inline std::function<bool()> before_select;
inline useconds_t pause_after_select_us = 0;

// Every test gives back the descriptors that it has taken.
class Sockets : public testing::Test {
 protected:
  static std::ptrdiff_t descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }
  ~Sockets() override { EXPECT_EQ(descriptors(), before_); }

 private:
  std::ptrdiff_t before_ = descriptors();
};

// What a call gives, a space, and what it prints on standard error. A socket that it makes is
// closed, and given as "made"; no socket is "null".
template <class Call>
std::string outcome(Call call) {
  testing::internal::CaptureStderr();
  const auto result = call();
  std::string text;
  if constexpr (std::is_pointer_v<decltype(call())>) {
    text = result == nullptr ? "null" : "made";
    sktClose(result);
  } else {
    text = std::to_string(result);
  }
  return text + " " + testing::internal::GetCapturedStderr();
}

// What can be told of an address.
inline std::string text_of(const skt_address* address) {
  if (address->any.sa_family == AF_INET) {
    const sockaddr_in& inet = address->inet;
    return in_addr_to_string(inet.sin_addr.s_addr) + (":" + std::to_string(ntohs(inet.sin_port)));
  }
  std::string path(address->local.sun_path, sizeof address->local.sun_path);
  path.erase(path.find_last_not_of('\0') + 1);
  return std::to_string(address->any.sa_family) + path;
}

// A time-out of the socket in milliseconds; -1 where an emulator does not tell.
inline long time_out_ms(const Socket& skt, int name) {
  timeval time = {};
  socklen_t size = sizeof time;
  ::getsockopt(skt.m_sock, SOL_SOCKET, name, &time, &size);
  return size == sizeof time ? static_cast<long>(time.tv_sec * 1000 + time.tv_usec / 1000) : -1;
}

// All that an operation may change of the record, its descriptor and its interface.
inline std::map<std::string, std::string> state_of(const Socket& skt) {
  const auto option = [&](int level, int name) {
    int value = 0;
    socklen_t size = sizeof value;
    ::getsockopt(skt.m_sock, level, name, &value, &size);
    return value != 0;
  };
  ifreq request = {};
  std::strncpy(request.ifr_name, skt.m_ife, sizeof request.ifr_name - 1);
  if (skt.m_ife[0] != '\0') ::ioctl(skt.m_sock, SIOCGIFFLAGS, &request);
  const int flags = ::fcntl(skt.m_sock, F_GETFL), ife_flags = request.ifr_flags;
  // clang-format off
  const std::pair<const char*, long> numbers[] = {
      {"connected", skt.m_connected}, {"valid", skt.m_valid}, {"selected", skt.m_selected},
      {"sock", skt.m_sock}, {"fin", skt.m_fin != nullptr}, {"fout", skt.m_fout != nullptr},
      {"family", skt.m_family}, {"type", skt.m_type}, {"protocol", skt.m_protocol},
      {"mode", skt.m_mode}, {"port", skt.m_port}, {"addrlen", skt.m_addrlen},
      {"nonblock", (flags & O_NONBLOCK) != 0}, {"flags", flags & ~O_NONBLOCK},
      {"exec", ::fcntl(skt.m_sock, F_GETFD)}, {"nodelay", option(IPPROTO_TCP, TCP_NODELAY)},
      {"reuse", option(SOL_SOCKET, SO_REUSEADDR)}, {"bcast", option(SOL_SOCKET, SO_BROADCAST)},
      {"rcv", time_out_ms(skt, SO_RCVTIMEO)}, {"snd", time_out_ms(skt, SO_SNDTIMEO)},
      {"promisc", (ife_flags & IFF_PROMISC) != 0}, {"ife flags", ife_flags & IFF_MULTICAST}};
  std::map<std::string, std::string> state = {
      {"ife", skt.m_ife}, {"name", skt.m_name}, {"sockaddr", text_of(skt.m_sockaddr)},
      {"peeraddr", text_of(skt.m_peeraddr)}, {"fromaddr", text_of(skt.m_fromaddr)},
      {"destaddr", text_of(skt.m_destaddr)}};
  // clang-format on
  for (const auto& [name, value] : numbers) state[name] = std::to_string(value);
  return state;
}

// Lets no state be that of a new socket, in which nothing can be lost.
inline socket_ptr marked(Socket* skt) {
  sktSetTimeouts(skt, 1500, 2400);
  ::fcntl(skt->m_sock, F_SETFL, O_RDWR | O_APPEND);
  skt->m_selected = 1;
  for (skt_address* address : {skt->m_sockaddr, skt->m_peeraddr, skt->m_fromaddr, skt->m_destaddr})
    std::memset(&address->inet.sin_port, 7, 6);
  return socket_ptr(skt);
}

struct effect_row {
  const socket_ptr& skt;
  std::function<int(Socket*)> call;
  std::string text;  // the outcome and then "name=value " of all that changes, in order of names
};

template <std::size_t Count>
void expect_effects(const effect_row (&rows)[Count]) {
  for (const effect_row& row : rows) {
    const auto before = state_of(*row.skt);
    std::string text = outcome([&] { return row.call(row.skt.get()); });
    for (const auto& [name, value] : state_of(*row.skt))
      if (value != before.at(name)) text += name + "=" + value + " ";
    EXPECT_EQ(text, row.text) << "row " << &row - rows;
  }
}

// A call that awaits its socket.
template <class Call, class... Arguments>
auto with(Call call, Arguments... arguments) {
  return [=](Socket* skt) { return static_cast<int>(call(skt, arguments...)); };
}

// Accepts, within a time limit where that is not negative: 0 or -1.
inline auto accepting(long timeout_ms) {
  return [=](Socket* skt) {
    const socket_ptr made(timeout_ms < 0 ? sktAccept(skt) : sktAcceptTimeout(skt, timeout_ms));
    return made == nullptr ? -1 : made->m_valid + made->m_connected - 2;
  };
}

// With a network of this process alone, which has a loopback interface and a cable of two virtual
// ends, v0 and v1.
class OwnNetwork : public Sockets {
 protected:
  void SetUp() override {
    if (::unshare(CLONE_NEWNET) != 0)
      GTEST_SKIP() << "skipped: no network namespace: " << std::strerror(errno);
    if (!run("ip link set lo up && ip link add v0 type veth peer name v1 && "
             "ip link set v0 up && ip link set v1 up"))
      GTEST_SKIP() << "skipped: ip (package iproute2) makes no virtual interfaces here";
  }
  void TearDown() override {
    ::setns(before_, CLONE_NEWNET);
    ::close(before_);
  }
  static bool run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
  }

 private:
  int before_ = ::open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
};

inline skt_address loopback() {
  skt_address address = {};
  address.inet.sin_family = AF_INET;
  address.inet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

inline std::uint16_t port_of(const socket_ptr& skt) {
  sockaddr_in own = {};
  socklen_t size = sizeof own;
  ::getsockname(skt->m_sock, reinterpret_cast<sockaddr*>(&own), &size);
  return ntohs(own.sin_port);
}

// Its address on the loopback interface, as state_of tells it.
inline std::string address_text(const socket_ptr& skt) {
  return "addr=127.0.0.1:" + std::to_string(port_of(skt)) + " ";
}

inline socket_ptr connected_to(const socket_ptr& listener) {
  socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  EXPECT_EQ(sktConnectHost(client.get(), "localhost", port_of(listener), 2000), 0);
  return client;
}

inline std::string received(const socket_ptr& skt) {
  char bytes[64];
  const int count = sktRecv(skt.get(), bytes, sizeof bytes);
  return count < 0 ? std::to_string(count) : std::string(bytes, static_cast<std::size_t>(count));
}

}  // namespace ruvex
