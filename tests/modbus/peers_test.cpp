// The codec beside independent implementations: their servers under our master, and a client of
// theirs on our slave.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>

#include "modbus/bytes.h"
#include "ruvex/modbus/client.h"
#include "ruvex/modbus/request.h"
#include "ruvex/modbus/slave.h"
#include "ruvex/modbus/transaction.h"
#ifdef RUVEX_WITH_LIBMODBUS
#include <modbus/modbus.h>
#endif

namespace ruvex {
namespace {

bool succeeds(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// What a master asks of a slave of the tests, and what comes back.
constexpr struct {
  int fcn, ref, count;
  const char *sent, *returned;
  int exception = 0;
} steps[] = {
    {16, 11, 3, "r 0001 1234 FFFE", ""},
    {3, 11, 3, "", "r 0001 1234 FFFE"},
    {6, 12, 1, "r 0042", ""},
    {3, 11, 2, "", "r 0001 0042"},
    {15, 21, 10, "b 01 00 01 01 00 00 01 01 01 00", ""},
    {1, 21, 10, "", "b 01 00 01 01 00 00 01 01 01 00"},
    {5, 22, 1, "b 01", ""},
    {5, 23, 1, "b 00", ""},
    {1, 21, 4, "", "b 01 01 00 01"},
    {2, 1, 7, "", "b 01 00 00 01 00 00 01"},
    {4, 31, 2, "", "r 0082 0083"},
    {3, 5000, 1, "", "", MOD_ILLEGAL_DATA_ADDRESS},
    {15, 100, 2, "b 01 01", "", MOD_ILLEGAL_DATA_ADDRESS},
    {3, 11, 1, "", "r 0001"},
};

void expect_returned(const char* returned, const std::uint8_t* data) {
  const byte_list expected = data_of(returned);
  EXPECT_EQ(to_hex({data, expected.size()}), to_hex(expected));
}

mod_outcome ask_by_name(mod_client* client, int fcn, std::uint16_t ref, std::uint16_t count,
                        byte_list& data) {
  auto* const words = reinterpret_cast<std::uint16_t*>(data.data());
  switch (fcn) {
    case 1:
      return mod_readCoils(client, 17, ref, count, data.data());
    case 2:
      return mod_readDiscreteInputs(client, 17, ref, count, data.data());
    case 3:
      return mod_readHoldingRegisters(client, 17, ref, count, words);
    case 4:
      return mod_readInputRegisters(client, 17, ref, count, words);
    case 5:
      return mod_writeCoil(client, 17, ref, data[0] != 0);
    case 6:
      return mod_writeRegister(client, 17, ref, *words);
    case 15:
      return mod_writeCoils(client, 17, ref, count, data.data());
    default:
      return mod_writeRegisters(client, 17, ref, count, words);
  }
}

void drive_with_our_client(std::uint8_t protocol, int fd) {
  mod_line line;
  mod_lineInit(&line, fd, 300, protocol == MOD_RTU ? 115200 : 0);
  mod_client client;
  mod_clientInit(&client, protocol, line);
  client.retries = 30;  // until the server has started
  for (const auto& [fcn, ref, count, sent, returned, exception] : steps) {
    byte_list data = data_of(sent);
    data.resize(mod_data_size, 0xA5);
    const auto at = static_cast<std::uint16_t>(ref), most = static_cast<std::uint16_t>(count);
    const mod_outcome outcome = ask_by_name(&client, fcn, at, most, data);
    EXPECT_EQ(outcome.status, exception == 0 ? mod_status::ok : mod_status::exception)
        << fcn << " " << ref << ": " << mod_outcomeText(outcome);
    EXPECT_EQ(outcome.code, exception);
    expect_returned(returned, data.data());
  }
}

// Our slave: 100 coils, inputs, registers and input registers.
void serve(mod_mex& mex, std::uint8_t (&kinds)[4][200]) {
  const bool is_read = mex.fcn <= 4, is_coil = mex.fcn == 1 || mex.fcn == 5 || mex.fcn == 15;
  const int kind = is_coil ? 0 : mex.fcn == 2 ? 1 : mex.fcn == 4 ? 3 : 2;
  const std::size_t size = kind < 2 ? 1 : 2, first = (mex.ref - 1U) * size;
  if (first + mex.count * size > 100 * size) {
    mex.fcn |= 0x80, mex.data[0] = MOD_ILLEGAL_DATA_ADDRESS;
    return;
  }
  std::uint8_t* const own = kinds[kind] + first;
  std::memcpy(is_read ? mex.data : own, is_read ? own : mex.data, mex.count * size);
}

// Serves until the peer is gone; a terminal is never gone.
void serve_as_our_slave(std::uint8_t protocol, int fd) {
  std::uint8_t kinds[4][200] = {};
  for (std::uint16_t at = 0; at < 100; ++at) {  // every third input is on, register n holds 100 + n
    kinds[1][at] = at % 3 == 0 ? 1 : 0;
    store_host<std::uint16_t>(kinds[3] + 2 * at, 100 + at);
  }
  mod_line line;
  mod_lineInit(&line, fd, protocol == MOD_RTU ? 300 : 5000);
  mod_ctx ctx = {};
  mod_init(&ctx, protocol, &line, mod_lineRecv, mod_lineSend);
  for (mod_mex mex = {}; mod_waitRequest(&ctx) >= 0 || protocol == MOD_RTU; mex = {}) {
    const std::int32_t result = mod_slaveRx(&ctx, &mex, MOD_SKIP_RX);
    if (mex.addr != 17) continue;  // that of a corrupt frame is 0
    if (result == 0) serve(mex, kinds);
    mod_slaveTx(&ctx, &mex, 0);
  }
}

// Where a peer, a process that ends with the test, is met: a port of the loopback interface, or a
// pseudo-terminal and its device.
class Peers : public testing::TestWithParam<mod_protocol> {
 protected:
  void SetUp() override {
    socklen_t size = sizeof address_;
    ASSERT_TRUE(::bind(listener_, any_, size) == 0 && ::listen(listener_, 1) == 0 &&
                ::getsockname(listener_, any_, &size) == 0);
    termios raw = {};
    ::cfmakeraw(&raw);
    ASSERT_EQ(::openpty(&terminal_, &held_, device_, &raw, nullptr), 0);
  }
  void TearDown() override {
    ::kill(peer_, SIGKILL);
    ::waitpid(peer_, nullptr, 0);
  }
  void run_peer(const std::function<void()>& run) {
    if ((peer_ = ::fork()) != 0) return;
    run();
    ::_exit(1);
  }
  // Our end of the line to a server, which may take its time to start.
  int connected() {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    for (int attempt = 0; is_tcp && attempt < 200; ++attempt) {
      if (::connect(fd, any_, sizeof address_) == 0) return fd;
      ::usleep(50000);
    }
    return terminal_;
  }

  const bool is_tcp = GetParam() == MOD_TCP;
  int listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address_ = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  sockaddr* const any_ = reinterpret_cast<sockaddr*>(&address_);
  int terminal_ = -1, held_ = -1;  // the device is held, so that the peer may come and go
  char device_[64] = {};
  pid_t peer_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Lines, Peers, testing::Values(MOD_TCP, MOD_RTU),
                         [](const auto& line) { return line.param == MOD_TCP ? "tcp" : "rtu"; });

TEST_P(Peers, PymodbusServesOurClient) {
  if (!succeeds("/usr/bin/python3 -c 'import pymodbus.server'")) GTEST_SKIP() << "no pymodbus";
  ::shutdown(listener_, SHUT_RDWR);  // the port is free again
  run_peer([&] {
    ::execl("/usr/bin/python3", "python3", RUVEX_PYMODBUS_SERVER, is_tcp ? "tcp" : "rtu",
            (is_tcp ? std::to_string(ntohs(address_.sin_port)) : device_).c_str(), nullptr);
  });
  drive_with_our_client(GetParam(), connected());
}

#ifdef RUVEX_WITH_LIBMODBUS

modbus_t* libmodbus(bool is_tcp, const sockaddr_in& address, const char* device) {
  modbus_t* peer = is_tcp ? modbus_new_tcp("127.0.0.1", ntohs(address.sin_port))
                          : modbus_new_rtu(device, 115200, 'N', 8, 1);
  modbus_set_slave(peer, 17);
  return peer;
}

// Serves as slave `unit` of libmodbus.
void serve_as_libmodbus(modbus_t* peer) {
  modbus_mapping_t* tables = modbus_mapping_new(100, 100, 100, 100);
  for (int at = 0; at < 100; ++at) {
    tables->tab_input_bits[at] = at % 3 == 0 ? 1 : 0;
    tables->tab_input_registers[at] = static_cast<std::uint16_t>(100 + at);
  }
  std::uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
  for (int length = 0; length >= 0 || errno != ECONNRESET;) {
    length = modbus_receive(peer, query);
    if (length > 0) modbus_reply(peer, query, length, tables);
  }
}

TEST_P(Peers, LibmodbusServesOurClient) {
  run_peer([&] {
    modbus_t* peer = libmodbus(is_tcp, address_, device_);
    is_tcp ? modbus_tcp_accept(peer, &listener_) : modbus_connect(peer);
    serve_as_libmodbus(peer);
  });
  drive_with_our_client(GetParam(), connected());
}

TEST_P(Peers, OurSlaveServesLibmodbus) {
  run_peer([&] {
    serve_as_our_slave(GetParam(), is_tcp ? ::accept(listener_, nullptr, nullptr) : terminal_);
  });
  modbus_t* client = libmodbus(is_tcp, address_, device_);
  ASSERT_EQ(modbus_connect(client), 0);
  for (const auto& [fcn, ref, count, sent, returned, exception] : steps) {
    byte_list out = data_of(sent), in(mod_data_size);
    auto* const words = reinterpret_cast<std::uint16_t*>(fcn <= 4 ? in.data() : out.data());
    const int at = ref - 1;
    const int moved = fcn == 1    ? modbus_read_bits(client, at, count, in.data())
                      : fcn == 2  ? modbus_read_input_bits(client, at, count, in.data())
                      : fcn == 3  ? modbus_read_registers(client, at, count, words)
                      : fcn == 4  ? modbus_read_input_registers(client, at, count, words)
                      : fcn == 5  ? modbus_write_bit(client, at, out[0])
                      : fcn == 6  ? modbus_write_register(client, at, *words)
                      : fcn == 15 ? modbus_write_bits(client, at, count, out.data())
                                  : modbus_write_registers(client, at, count, words);
    EXPECT_EQ(moved, exception == 0 ? count : -1) << fcn << " " << ref;
    EXPECT_TRUE(exception == 0 || errno == MODBUS_ENOBASE + exception) << errno;
    expect_returned(returned, in.data());
  }
  std::uint8_t id[10];
  EXPECT_EQ(modbus_report_slave_id(client, sizeof id, id), -1);
  EXPECT_EQ(errno, is_tcp ? EMBXILFUN : ETIMEDOUT) << "4 characters are no RTU frame";
  modbus_free(client);
}

// Three pseudo-terminals on one line: what one says, the others hear.
struct shared_line {
  pollfd taps[3];
  char devices[3][64];
  int held[3];

  shared_line() {
    termios raw = {};
    ::cfmakeraw(&raw);
    for (int at = 0; at < 3; ++at) {
      taps[at] = {-1, POLLIN, 0};
      EXPECT_EQ(::openpty(&taps[at].fd, &held[at], devices[at], &raw, nullptr), 0);
    }
  }
  void carry() {
    std::uint8_t bytes[512];
    while (::poll(taps, 3, -1) > 0) {
      for (const pollfd& from : taps) {
        const ssize_t got = (from.revents & POLLIN) != 0 ? ::read(from.fd, bytes, sizeof bytes) : 0;
        for (const pollfd& to : taps) {
          if (got < 1 || to.fd == from.fd) continue;
          EXPECT_EQ(::write(to.fd, bytes, static_cast<std::size_t>(got)), got);
        }
      }
    }
  }
};

TEST(SharedLine, TwoSlavesOfDifferentMakersAnswerAThirdMaster) {
  if (!succeeds("/usr/bin/python3 -c 'import pymodbus.client'")) GTEST_SKIP() << "no pymodbus";
  shared_line line;
  pid_t helpers[3];
  const std::function<void()> runs[3] = {
      [&] { line.carry(); },
      [&] { serve_as_our_slave(MOD_RTU, line.held[0]); },
      [&] {
        modbus_t* peer = libmodbus(false, {}, line.devices[1]);
        modbus_set_slave(peer, 18);
        modbus_connect(peer);
        serve_as_libmodbus(peer);
      },
  };
  for (int at = 0; at < 3; ++at) {
    if ((helpers[at] = ::fork()) == 0) runs[at](), ::_exit(1);
  }
  const std::string master = std::string("/usr/bin/python3 ") + RUVEX_PYMODBUS_MASTER + " ";
  EXPECT_EQ(std::system((master + line.devices[2]).c_str()), 0)
      << "exchanges that went wrong * 256";
  for (const pid_t helper : helpers) ::kill(helper, SIGKILL), ::waitpid(helper, nullptr, 0);
}

#endif

}  // namespace
}  // namespace ruvex
