// Real lines for the tests: connections, pseudo-terminals, and signals that interrupt what they
// can.
#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace ruvex {

// Two ends of a line: of a connection, or of a pseudo-terminal and its device.
struct two_ends {
  int own = -1, other = -1;

  explicit two_ends(bool is_terminal) {
    int ends[2];
    termios raw = {};
    ::cfmakeraw(&raw);
    raw.c_cc[VMIN] = 0, raw.c_cc[VTIME] = 0;  // a read that has nothing gives 0
    const int result = is_terminal ? ::openpty(&ends[1], &ends[0], nullptr, &raw, nullptr)
                                   : ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends);
    EXPECT_EQ(result, 0);
    own = ends[0], other = ends[1];
  }
  ~two_ends() {
    ::close(own);
    ::close(other);
  }
};

// Signals come every 3 ms and interrupt what they can.
struct signal_rain {
  struct sigaction before = {};
  signal_rain() {
    struct sigaction interrupt = {};
    interrupt.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &interrupt, &before);
    every(3000);
  }
  ~signal_rain() {
    every(0);
    ::sigaction(SIGALRM, &before, nullptr);
  }
  static void every(int microseconds) {
    const itimerval time = {{0, microseconds}, {0, microseconds}};
    ::setitimer(ITIMER_REAL, &time, nullptr);
  }
};

// A server on the loopback interface.
struct loopback_server {
  int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  char port[8];

  loopback_server() {
    sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(::bind(listener, any, size) + ::listen(listener, 8), 0);
    ::getsockname(listener, any, &size);
    std::snprintf(port, sizeof port, "%d", ntohs(address.sin_port));
  }
  ~loopback_server() { ::close(listener); }
  int accepted() const { return ::accept(listener, nullptr, nullptr); }
};

}  // namespace ruvex
