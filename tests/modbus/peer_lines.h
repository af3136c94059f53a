// Processes, connections and pseudo-terminals between the codec and its peers. For one source file
// of a program.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include "modbus/bytes.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/transport.h"

namespace ruvex {

constexpr std::uint8_t slave_address = 17;
constexpr std::uint16_t table_size = 100;

// A process that runs a function until the test ends.
class child {
 public:
  explicit child(const std::function<void()>& run) : pid_(::fork()) {
    if (pid_ != 0) return;
    run();
    ::_exit(1);
  }
  ~child() {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  child(const child&) = delete;
  child& operator=(const child&) = delete;

 private:
  pid_t pid_;
};

struct command_result {
  std::string output;
  int status;
};

inline command_result run(const std::string& command) {
  command_result result = {{}, -1};
  std::FILE* pipe = ::popen(("timeout 20 " + command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  for (int character = 0; (character = std::fgetc(pipe)) != EOF;) {
    result.output += static_cast<char>(character);
  }
  result.status = ::pclose(pipe);
  return result;
}

inline bool has_program(const std::string& name) {
  return run("sh -c 'command -v " + name + "'").status == 0;
}

inline sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A listening socket on a free port.
struct listener {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  std::uint16_t port = 0;

  listener() {
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(fd, any, size), 0);
    EXPECT_EQ(::listen(fd, 1), 0);
    EXPECT_EQ(::getsockname(fd, any, &size), 0);
    port = ntohs(address.sin_port);
  }
  ~listener() { close(); }
  void close() {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
};

// A connection to a server, which may take its time to start. -1 when it does not come.
inline int connect_to(std::uint16_t port) {
  const sockaddr_in address = loopback(port);
  for (int attempt = 0; attempt < 200; ++attempt) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return fd;
    ::close(fd);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return -1;
}

// A raw pseudo-terminal: our end, and the device of the other.
struct pseudo_terminal {
  int fd = ::posix_openpt(O_RDWR | O_NOCTTY);
  int device_fd = -1;
  char device[64] = {};

  pseudo_terminal() {
    EXPECT_EQ(::grantpt(fd) | ::unlockpt(fd) | ::ptsname_r(fd, device, sizeof device), 0);
    device_fd = ::open(device, O_RDWR | O_NOCTTY);  // held, so that the other end may come and go
    termios settings = {};
    ::tcgetattr(device_fd, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(device_fd, TCSANOW, &settings);
  }
  ~pseudo_terminal() {
    ::close(device_fd);
    ::close(fd);
  }
};

inline std::int32_t read_terminal(void* handle, void* buffer, std::int32_t length) {
  pollfd ready = {*static_cast<int*>(handle), POLLIN, 0};
  if (::poll(&ready, 1, 300) < 1) return -1;
  const ssize_t got = ::read(ready.fd, buffer, static_cast<std::size_t>(length));
  return got < 1 ? -1 : static_cast<std::int32_t>(got);
}

inline std::int32_t write_terminal(void* handle, const void* buffer, std::int32_t length) {
  return static_cast<std::int32_t>(
      ::write(*static_cast<int*>(handle), buffer, static_cast<std::size_t>(length)));
}

// A context over one of the two.
class line {
 public:
  line(std::uint8_t protocol, int fd) : fd_(fd) {
    if (protocol == MOD_RTU) {
      mod_init(&ctx_, protocol, &fd_, read_terminal, write_terminal);
      return;
    }
    const timeval seconds = {5, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &seconds, sizeof seconds);
    mod_bufferedInit(&buffered_, &fd_, mod_socketRecv, mod_socketSend);
    mod_init(&ctx_, protocol, &buffered_, mod_bufferedRecv, mod_bufferedSend);
  }
  mod_ctx* ctx() { return &ctx_; }

 private:
  int fd_;
  mod_buffered buffered_ = {};
  mod_ctx ctx_ = {};
};

inline mod_mex record(int fcn, int ref, int count, const byte_list& data = {}) {
  mod_mex mex = {};
  mex.tid = static_cast<std::uint16_t>(fcn * 256 + ref);
  mex.addr = slave_address;
  mex.fcn = static_cast<std::uint8_t>(fcn);
  mex.ref = static_cast<std::uint16_t>(ref);
  mex.count = static_cast<std::uint16_t>(count);
  set_data(mex, data);
  return mex;
}

}  // namespace ruvex
