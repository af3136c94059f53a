#include "ruvex/modbus/line.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>

#include "modbus/bytes.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/modbus/transport.h"

namespace ruvex {
namespace {

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

std::int64_t ms_of(const auto& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  const auto taken = std::chrono::steady_clock::now() - start;
  return std::chrono::duration_cast<std::chrono::milliseconds>(taken).count();
}

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

TEST(Line, TellsSilentFromClosedAndKeepsItsTime) {
  for (const bool is_terminal : {false, true}) {
    two_ends ends(is_terminal);
    mod_line line;
    mod_lineInit(&line, ends.own, 80);
    const signal_rain rain;
    std::uint8_t bytes[8] = {};
    std::int32_t got = 0;
    EXPECT_GE(ms_of([&] { got = mod_lineRecv(&line, bytes, 8); }), 79);
    EXPECT_EQ(got, -1);
    EXPECT_FALSE(line.is_closed) << "silent";
    EXPECT_EQ(::write(ends.other, "abcde", 5), 5);
    EXPECT_EQ(mod_lineRecv(&line, bytes, 2), 2);
    EXPECT_EQ(std::string(bytes, bytes + 2), "ab");
    EXPECT_EQ(mod_lineDrop(&line), 0);
    EXPECT_EQ(mod_lineRecvTimeout(&line, bytes, 8, 0), -1) << "dropped";
    EXPECT_EQ(mod_lineSend(&line, "xyz", 3), 3);
    EXPECT_EQ(::read(ends.other, bytes, 8), 3);
    const byte_list much(1 << 20, 0x55);  // more than the line takes without a reader
    EXPECT_GE(ms_of([&] { got = mod_lineSend(&line, much.data(), 1 << 20); }), 79);
    EXPECT_EQ(got, -1);
    EXPECT_FALSE(line.is_closed);
    ::close(ends.other);
    EXPECT_EQ(mod_lineDrop(&line), -1);
    EXPECT_TRUE(line.is_closed);
    EXPECT_EQ(mod_lineRecv(&line, bytes, 8), -1);
    EXPECT_TRUE(line.is_closed);
    EXPECT_EQ(mod_lineAsk(&line, "xyz", 3), -1) << "raises no signal, and cannot open it";
    EXPECT_TRUE(line.is_closed);
    mod_lineClose(&line);
    EXPECT_NE(::fcntl(ends.own, F_GETFD), -1) << "the caller's descriptor stays open";
    EXPECT_EQ(mod_lineRecv(&line, bytes, 8), -1);
    EXPECT_EQ(line.error, ENOTCONN);
  }
}

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

TEST(Line, OpensAgainWhatWasClosed) {
  const signal_rain rain;
  const auto server = std::make_unique<loopback_server>();
  mod_tcp_server where = {"localhost", server->port};
  mod_line line;
  mod_lineInit(&line, mod_tcpOpen, &where, 500);
  std::uint8_t bytes[8] = {};
  EXPECT_EQ(mod_lineRecv(&line, bytes, 8), -1) << "receiving opens nothing";
  EXPECT_TRUE(line.is_closed);
  for (int turn = 0; turn < 3; ++turn) {
    ASSERT_EQ(mod_lineAsk(&line, "ask", 3), 3) << turn;
    const int peer = server->accepted();
    EXPECT_EQ(::recv(peer, bytes, 8, 0), 3);
    EXPECT_EQ(::send(peer, "answer", 6, 0), 6);
    EXPECT_EQ(mod_lineRecv(&line, bytes, 8), 6);
    ::close(peer);
  }
  mod_lineClose(&line);
  mod_lineClose(&line);
  EXPECT_EQ(line.fd, -1);
  const std::string port = server->port;
  const struct {
    const char *host, *service;
    int error;
  } failures[] = {{"127.0.0.1", port.c_str(), ECONNREFUSED},
                  {"no such host.invalid", "502", ENXIO},
                  {"127.0.0.1", "no service", ENXIO},
                  {"192.0.2.1", "502", 0}};  // of nobody: what it is depends on the network
  ::close(std::exchange(server->listener, -1));
  for (const auto& [host, service, error] : failures) {
    where = {host, service};
    line.timeout_ms = 50;
    EXPECT_EQ(mod_lineOpen(&line), -1) << host;
    EXPECT_TRUE(line.is_closed);
    EXPECT_TRUE(error == 0 ? line.error != 0 : line.error == error) << host << " " << line.error;
  }
}

// A master of transactions is not one answer behind either, when what is late is dropped first.
TEST(Buffered, AsksAfterItHasDroppedWhatIsLate) {
  two_ends ends(false);
  mod_line line;
  mod_lineInit(&line, ends.own, 20);
  timeval soon = {0, 20000};
  ::setsockopt(ends.own, SOL_SOCKET, SO_RCVTIMEO, &soon, sizeof soon);
  mod_buffered over_line, over_socket;
  mod_bufferedInit(&over_line, &line, mod_lineRecv, mod_lineSend, mod_lineDrop);
  mod_bufferedInit(&over_socket, &ends.own, mod_socketRecv, mod_socketSend, mod_socketDrop);
  for (mod_buffered* buffered : {&over_line, &over_socket}) {
    mod_ctx ctx = {};
    mod_init(&ctx, MOD_RTU, buffered, mod_bufferedRecv, mod_bufferedAsk);
    for (int value = 1; value < 5; ++value) {
      const byte_list answer = from_hex(rtu("11 03 02 00 0" + std::to_string(value)));
      mod_mex mex = record(3, 1, 1);
      EXPECT_EQ(mod_masterTx(&ctx, &mex, 0), 0);
      for (int copies = 0; copies < 2 && value != 2; ++copies) {  // twice, and once not at all
        ::send(ends.other, answer.data(), answer.size(), 0);
      }
      EXPECT_EQ(mod_masterRx(&ctx, &mex, 0), value == 2 ? -1 : 0);
      if (value == 2) ::send(ends.other, answer.data(), answer.size(), 0);
      EXPECT_EQ(load_host<std::uint16_t>(mex.data), value == 2 ? 0xA511 : value);
    }
    mod_mex rest = record(3, 1, 1);
    EXPECT_EQ(mod_masterTx(&ctx, &rest, 0), 0);
    EXPECT_EQ(mod_masterRx(&ctx, &rest, 0), -1);
  }
}

}  // namespace
}  // namespace ruvex
