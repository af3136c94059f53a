// Sockets that leave nothing behind, system calls that fail on purpose, and networks of our own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "ruvex/socket/address.h"
#include "ruvex/socket/socket.h"

// System calls that tests wrap. On 32-bit systems they have other names, for times of 64 bits.
#ifdef __arm__
#define RUVEX_IOCTL "__ioctl_time64"
#define RUVEX_SELECT "__select64"
#define RUVEX_GETSOCKOPT "__getsockopt64"
#define RUVEX_SETSOCKOPT "__setsockopt64"
#else
#define RUVEX_IOCTL "ioctl"
#define RUVEX_SELECT "select"
#define RUVEX_GETSOCKOPT "getsockopt"
#define RUVEX_SETSOCKOPT "setsockopt"
#endif

namespace ruvex {

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

// What a call prints on standard error.
template <class Call>
std::string printed(Call call) {
  testing::internal::CaptureStderr();
  call();
  return testing::internal::GetCapturedStderr();
}

// No descriptor can be had while this lives.
class no_descriptors {
 public:
  no_descriptors() {
    ::getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit none = {0, before_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &none);
  }
  ~no_descriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_ = {};
};

// A network of this process alone, with a loopback interface, as long as this lives.
class own_network {
 public:
  own_network() : before_(::open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC)) {
    if (::unshare(CLONE_NEWNET) != 0) {
      missing_ = std::string("skipped: no network namespace: ") + std::strerror(errno);
    } else if (!run("ip link set lo up")) {
      missing_ = "skipped: ip (package iproute2) does not work here";
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

inline std::uint16_t port_of(const Socket& skt) {
  sockaddr_in own = {};
  socklen_t size = sizeof own;
  ::getsockname(skt.m_sock, reinterpret_cast<sockaddr*>(&own), &size);
  return ntohs(own.sin_port);
}

inline skt_address loopback() {
  skt_address address = {};
  address.inet.sin_family = AF_INET;
  address.inet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace ruvex
