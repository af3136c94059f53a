#include "ruvex/modbus/line.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "modbus/bytes.h"
#include "modbus/ends.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/modbus/transport.h"

namespace ruvex {
namespace {

std::int64_t ms_of(const auto& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  const auto taken = std::chrono::steady_clock::now() - start;
  return std::chrono::duration_cast<std::chrono::milliseconds>(taken).count();
}

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
      const int got = value == 2 ? mex.data[0] : load_host<std::uint16_t>(mex.data);
      EXPECT_EQ(got, value == 2 ? MOD_MASTER_NO_RESPONSE : value);
    }
    mod_mex rest = record(3, 1, 1);
    EXPECT_EQ(mod_masterTx(&ctx, &rest, 0), 0);
    EXPECT_EQ(mod_masterRx(&ctx, &rest, 0), -1);
  }
}

}  // namespace
}  // namespace ruvex
