// Sockets that leave nothing behind, and networks of our own.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <type_traits>

#include "ruvex/socket/socket.h"

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

inline skt_address loopback() {
  skt_address address = {};
  address.inet.sin_family = AF_INET;
  address.inet.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace ruvex
