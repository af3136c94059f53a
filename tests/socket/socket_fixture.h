// Sockets that leave nothing behind, and networks of our own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>

#include "ruvex/socket/bind.h"
#include "ruvex/socket/connect.h"
#include "ruvex/socket/transfer.h"

namespace ruvex {

// What happens just before the next select; whether that tells of a descriptor but of none in its
// sets; how long each that has found something takes to return.
inline std::function<void()> before_select;
inline bool select_finds_nothing = false;
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

// A network of this process alone, with a loopback interface, as long as this lives.
class own_network {
 public:
  own_network() : before_(::open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC)) {
    if (::unshare(CLONE_NEWNET) != 0) {
      missing_ = std::string("skipped: no network namespace: ") + std::strerror(errno);
    } else if (!run("ip link set lo up && ip link add v0 type veth peer name v1 && "
                    "ip link set v0 up && ip link set v1 up")) {
      missing_ = "skipped: ip (package iproute2) makes no virtual interfaces here";
    }
  }
  ~own_network() {
    ::setns(before_, CLONE_NEWNET);
    ::close(before_);
  }
  const std::string& missing() const { return missing_; }
  static bool run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
  }

 private:
  int before_;
  std::string missing_;
};

// A time-out of the socket; -1 where an emulator does not tell.
inline long time_out_ms(const socket_ptr& skt, int option) {
  timeval time = {};
  socklen_t size = sizeof time;
  ::getsockopt(skt->m_sock, SOL_SOCKET, option, &time, &size);
  return size == sizeof time ? static_cast<long>(time.tv_sec * 1000 + time.tv_usec / 1000) : -1;
}

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

struct pair {
  socket_ptr client, server;
};

inline pair connected_pair() {
  const socket_ptr listener(CreateAfInetServer(SOCK_STREAM, "127.0.0.1", 0));
  socket_ptr client(sktNew(AF_INET, SOCK_STREAM));
  EXPECT_EQ(sktConnectHost(client.get(), "localhost", port_of(listener), 2000), 0);
  socket_ptr server(sktAcceptTimeout(listener.get(), 2000));
  EXPECT_NE(server, nullptr);
  return {std::move(client), std::move(server)};
}

inline std::string received(const socket_ptr& skt) {
  char bytes[64];
  const int count = sktRecv(skt.get(), bytes, sizeof bytes);
  return count < 0 ? std::to_string(count) : std::string(bytes, static_cast<std::size_t>(count));
}

}  // namespace ruvex
