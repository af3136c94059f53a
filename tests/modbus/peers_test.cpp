// The codec beside independent implementations: their servers under our master, their clients on
// our slave, and a protocol analyser on our messages.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "modbus/bytes.h"
#include "modbus/peer_lines.h"
#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/master.h"
#include "ruvex/modbus/request.h"
#include "ruvex/modbus/slave.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/modbus/transport.h"
#include "support/temporary_file.h"
#ifdef RUVEX_WITH_LIBMODBUS
#include <modbus/modbus.h>
#endif

namespace ruvex {
namespace {

// What our master asks of a server of the tests, and what comes back.
void drive(std::uint8_t protocol, int fd) {
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
  line server(protocol, fd);
  for (const auto& step : steps) {
    mod_mex mex = record(step.fcn, step.ref, step.count, data_of(step.sent));
    const std::uint16_t tid = mex.tid;
    ASSERT_EQ(mod_masterTx(server.ctx(), &mex, 0), 0) << step.fcn;
    ASSERT_EQ(mod_masterRx(server.ctx(), &mex, 0), step.exception == 0 ? 0 : -1)
        << step.fcn << " " << step.ref << ": " << mod_errStr(mex.data[0]) << int{mex.data[0]};
    EXPECT_EQ(mex.tid, tid);
    EXPECT_EQ(mex.addr, slave_address);
    EXPECT_EQ(mex.fcn, step.exception == 0 ? step.fcn : step.fcn | 0x80);
    EXPECT_TRUE(step.exception == 0 || mex.data[0] == step.exception);
    const byte_list returned = data_of(step.returned);
    EXPECT_EQ(to_hex(mex.data, static_cast<std::int64_t>(returned.size())), to_hex(returned));
  }
}

// Our slave: 100 of everything.
class served_tables {
 public:
  served_tables() {
    for (std::uint16_t at = 0; at < table_size; ++at) {
      inputs_[at] = at % 3 == 0 ? 1 : 0;
      input_registers_[at] = static_cast<std::uint16_t>(100 + at);
    }
  }
  void serve(mod_mex& mex) {
    const auto first = static_cast<std::uint16_t>(mex.ref - 1);
    if (first + mex.count > table_size) {
      mex.fcn |= 0x80;
      mex.data[0] = MOD_ILLEGAL_DATA_ADDRESS;
      return;
    }
    const bool is_input = mex.fcn == 2 || mex.fcn == 4;
    const bool is_read = mex.fcn <= 4;
    if (mex.fcn == 1 || mex.fcn == 2 || mex.fcn == 5 || mex.fcn == 15) {
      move(is_read, mex, (is_input ? inputs_ : coils_) + first, sizeof(std::uint8_t));
    } else {
      move(is_read, mex, (is_input ? input_registers_ : registers_) + first, sizeof(std::uint16_t));
    }
  }

 private:
  static void move(bool is_read, mod_mex& mex, void* table, std::size_t size) {
    std::memcpy(is_read ? mex.data : table, is_read ? table : mex.data, mex.count * size);
  }
  std::uint8_t coils_[table_size] = {}, inputs_[table_size] = {};
  std::uint16_t registers_[table_size] = {}, input_registers_[table_size] = {};
};

// Serves until the peer is gone; a terminal is never gone.
void serve_line(std::uint8_t protocol, int fd, served_tables& tables) {
  line client(protocol, fd);
  for (;;) {
    mod_mex mex = {};
    if (mod_waitRequest(client.ctx()) < 0) {
      if (protocol == MOD_TCP) return;
      continue;
    }
    const std::int32_t result = mod_slaveRx(client.ctx(), &mex, MOD_SKIP_RX);
    if (mex.addr != slave_address) continue;  // that of a corrupt frame is 0
    if (result == 0) tables.serve(mex);
    mod_slaveTx(client.ctx(), &mex, 0);
  }
}

void serve_connections(const listener& on) {
  served_tables tables;
  for (;;) {
    const int fd = ::accept(on.fd, nullptr, nullptr);
    serve_line(MOD_TCP, fd, tables);
    ::close(fd);
  }
}

// What mbpoll prints for values read, "[11]: 	1" a line, without its blanks.
std::string values_printed(const std::string& output) {
  std::string values;
  std::size_t at = 0;
  while ((at = output.find("\n[", at)) != std::string::npos) {
    const std::size_t end = output.find('\n', ++at);
    for (const char character : output.substr(at, end - at)) {
      if (character != ' ' && character != '\t') values += character;
    }
    values += ' ';
  }
  return values;
}

void drive_with_mbpoll(const std::string& options, const std::string& target) {
  const struct {
    const char *what, *values, *printed;
  } steps[] = {
      {"-t 4 -r 11", "1 4660 65534", ""},
      {"-t 4 -r 11 -c 3 -1", "", "[11]:1 [12]:4660 [13]:65534(-2) "},
      {"-t 4 -r 12", "66", ""},
      {"-t 4 -r 11 -c 2 -1", "", "[11]:1 [12]:66 "},
      {"-t 0 -r 21", "1 0 1 1 0 0 1 1 1 0", ""},
      {"-t 0 -r 22", "1", ""},
      {"-t 0 -r 21 -c 10 -1", "",
       "[21]:1 [22]:1 [23]:1 [24]:1 [25]:0 [26]:0 [27]:1 [28]:1 [29]:1 [30]:0 "},
      {"-t 1 -r 1 -c 4 -1", "", "[1]:1 [2]:0 [3]:0 [4]:1 "},
      {"-t 3 -r 31 -c 2 -1", "", "[31]:130 [32]:131 "},
  };
  for (const auto& step : steps) {
    const command_result got =
        run("mbpoll " + options + " -a 17 -o 2 " + step.what + " " + target + " -- " + step.values);
    EXPECT_EQ(got.status, 0) << step.what << got.output;
    EXPECT_EQ(values_printed(got.output), step.printed) << step.what << got.output;
  }
  const command_result refused =
      run("mbpoll " + options + " -a 17 -o 2 -t 4 -r 500 -c 1 -1 " + target);
  EXPECT_NE(refused.output.find("Illegal data address"), std::string::npos) << refused.output;
}

TEST(Slave, ServesMbpollOverTcp) {
  if (!has_program("mbpoll")) GTEST_SKIP() << "mbpoll is not installed";
  const listener on;
  const child slave([&] { serve_connections(on); });
  drive_with_mbpoll("-m tcp -p " + std::to_string(on.port), "127.0.0.1");
}

// A foreign master on a serial line: requests are delimited by their own lengths.
TEST(Slave, ServesMbpollOverRtu) {
  if (!has_program("mbpoll")) GTEST_SKIP() << "mbpoll is not installed";
  const pseudo_terminal terminal;
  const child slave([&] {
    served_tables tables;
    serve_line(MOD_RTU, terminal.fd, tables);
  });
  drive_with_mbpoll("-m rtu -b 115200 -P none", terminal.device);
}

bool has_pymodbus() {
  return run("/usr/bin/python3 -c 'import pymodbus.server'").status == 0;
}

void exec_pymodbus(const char* kind, const std::string& where) {
  ::execl("/usr/bin/python3", "python3", RUVEX_PYMODBUS_SERVER, kind, where.c_str(), nullptr);
}

TEST(Master, IsServedByPymodbusOverTcp) {
  if (!has_pymodbus()) GTEST_SKIP() << "pymodbus is not installed";
  listener place;
  place.close();  // the port is free again
  const child server([&] { exec_pymodbus("tcp", std::to_string(place.port)); });
  const int fd = connect_to(place.port);
  ASSERT_GE(fd, 0);
  drive(MOD_TCP, fd);
  ::close(fd);
}

TEST(Master, IsServedByPymodbusOverRtu) {
  if (!has_pymodbus()) GTEST_SKIP() << "pymodbus is not installed";
  const pseudo_terminal terminal;
  const child server([&] { exec_pymodbus("rtu", terminal.device); });
  line probe(MOD_RTU, terminal.fd);
  mod_mex mex = {};
  for (int attempt = 0; attempt < 30; ++attempt) {  // until it has started
    mex = record(3, 1, 1);
    mod_masterTx(probe.ctx(), &mex, 0);
    if (mod_masterRx(probe.ctx(), &mex, 0) == 0) break;
    while (mod_waitPacket(probe.ctx()) >= 0) continue;
  }
  ASSERT_EQ(mex.fcn, 3);
  drive(MOD_RTU, terminal.fd);
}

#ifdef RUVEX_WITH_LIBMODBUS

void serve_with_libmodbus(modbus_t* server) {
  modbus_mapping_t* tables = modbus_mapping_new(table_size, table_size, table_size, table_size);
  for (std::uint16_t at = 0; at < table_size; ++at) {
    tables->tab_input_bits[at] = at % 3 == 0 ? 1 : 0;
    tables->tab_input_registers[at] = static_cast<std::uint16_t>(100 + at);
  }
  std::uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
  for (int length = 0; length >= 0;) {
    length = modbus_receive(server, query);
    if (length > 0) modbus_reply(server, query, length, tables);
  }
}

TEST(Master, IsServedByLibmodbusOverTcp) {
  listener on;
  const child server([&] {
    modbus_t* tcp = modbus_new_tcp("127.0.0.1", on.port);
    modbus_tcp_accept(tcp, &on.fd);
    serve_with_libmodbus(tcp);
  });
  const int fd = connect_to(on.port);
  ASSERT_GE(fd, 0);
  drive(MOD_TCP, fd);
  ::close(fd);
}

TEST(Master, IsServedByLibmodbusOverRtu) {
  const pseudo_terminal terminal;
  int started[2];
  ASSERT_EQ(::pipe(started), 0);
  const child server([&] {
    modbus_t* rtu = modbus_new_rtu(terminal.device, 115200, 'N', 8, 1);
    modbus_set_slave(rtu, slave_address);
    if (modbus_connect(rtu) == 0 && ::write(started[1], "", 1) == 1) serve_with_libmodbus(rtu);
  });
  char byte = 1;
  ASSERT_EQ(::read(started[0], &byte, 1), 1);
  drive(MOD_RTU, terminal.fd);
  ::close(started[0]);
  ::close(started[1]);
}

TEST(Slave, ServesLibmodbusOverTcp) {
  const listener on;
  const child slave([&] { serve_connections(on); });
  modbus_t* client = modbus_new_tcp("127.0.0.1", on.port);
  modbus_set_slave(client, slave_address);
  ASSERT_EQ(modbus_connect(client), 0);
  const std::uint16_t written[] = {1, 0x1234, 0xFFFE};
  std::uint16_t read[3] = {};
  EXPECT_EQ(modbus_write_registers(client, 10, 3, written), 3);
  EXPECT_EQ(modbus_write_register(client, 11, 0x42), 1);
  EXPECT_EQ(modbus_read_registers(client, 10, 3, read), 3);
  EXPECT_EQ(to_hex(reinterpret_cast<std::uint8_t*>(read), 6), to_hex(data_of("r 0001 0042 FFFE")));
  EXPECT_EQ(modbus_read_input_registers(client, 30, 1, read), 1);
  EXPECT_EQ(read[0], 130);
  const std::uint8_t bits[] = {1, 0, 1, 1, 0, 0, 1, 1, 1, 0};
  std::uint8_t back[10] = {};
  EXPECT_EQ(modbus_write_bits(client, 20, 10, bits), 10);
  EXPECT_EQ(modbus_write_bit(client, 21, TRUE), 1);
  EXPECT_EQ(modbus_read_bits(client, 20, 10, back), 10);
  EXPECT_EQ(to_hex(back, 10), "01 01 01 01 00 00 01 01 01 00");
  EXPECT_EQ(modbus_read_input_bits(client, 0, 4, back), 4);
  EXPECT_EQ(to_hex(back, 4), "01 00 00 01");
  EXPECT_EQ(modbus_read_registers(client, 99, 2, read), -1);
  EXPECT_EQ(errno, EMBXILADD);
  EXPECT_EQ(modbus_report_slave_id(client, 10, back), -1);
  EXPECT_EQ(errno, EMBXILFUN);
  modbus_close(client);
  modbus_free(client);
}

#else

TEST(Libmodbus, IsThere) {
  GTEST_SKIP() << "libmodbus is not installed";
}

#endif

// A message as text2pcap reads it, to the slave ("O") or from it ("I").
std::string dump(char direction, const message_room& room, std::int32_t length) {
  return std::string(1, direction) + "\n000000 " + to_hex(room.data(), length) + "\n";
}

std::string analysed(const std::string& messages) {
  const temporary_file dumped, capture;
  dumped.filled_with(messages);
  run(std::string("text2pcap -q -D -T 502,50000 ") + dumped.path() + " " + capture.path());
  std::string fields;
  for (const char* field :
       {"mbtcp.len", "modbus.func_code", "modbus.reference_num", "modbus.bit_cnt",
        "modbus.word_cnt", "modbus.byte_cnt", "modbus.data", "modbus.regval_uint16",
        "modbus.bitval", "modbus.exception_code", "_ws.malformed"}) {
    fields += std::string(" -e ") + field;
  }
  return run(std::string("sh -c 'tshark -r ") + capture.path() + " -T fields -E separator=/s" +
             fields + " 2>/dev/null | tr -s \" \" | sed s/.$//'")
      .output;
}

TEST(Messages, AreReadByTshark) {
  if (!has_program("tshark") || !has_program("text2pcap")) {
    GTEST_SKIP() << "tshark or text2pcap is not installed";
  }
  const struct {
    int fcn, ref, count;
    const char *data, *request, *response;  // lengths, codes, references, quantities, values
    int exception = 0;
  } exchanges[] = {
      {1, 20, 10, "b 01 00 01 01 00 00 01 01 01 00", "6 1 19 10", "5 1 2 1,0,1,1,0,0,1,1,1,0"},
      {2, 197, 3, "b 01 01 00", "6 2 196 3", "4 2 1 1,1,0"},
      {3, 108, 2, "r 022B 0064", "6 3 107 2", "7 3 4 555,100"},
      {4, 9, 1, "r 000A", "6 4 8 1", "5 4 2 10"},
      {5, 173, 1, "b 01", "6 5 172 ff00", "6 5 172 ff00"},
      {6, 2, 1, "r 0103", "6 6 1 0103", "6 6 1 0103"},
      {15, 20, 10, "b 01 00 01 01 00 00 01 01 01 00", "9 15 19 10 2 cd01", "6 15 19 10"},
      {16, 2, 2, "r 000A 0102", "11 16 1 2 4 10,258", "6 16 1 2"},
      {3, 1, 1, "", "6 3 0 1", "3 3 2", MOD_ILLEGAL_DATA_ADDRESS},
  };
  std::string messages, expected;
  for (const auto& row : exchanges) {
    mod_mex mex = record(row.fcn, row.ref, row.count, data_of(row.data));
    const message_room room;
    messages += dump('O', room, mod_masterMexToBin(MOD_TCP, &mex, room.data()));
    mex = record(row.fcn, row.ref, row.count, data_of(row.data));
    if (row.exception != 0) mex.fcn |= 0x80, mex.data[0] = static_cast<std::uint8_t>(row.exception);
    messages += dump('I', room, mod_slaveMexToBin(MOD_TCP, &mex, room.data()));
    expected += std::string(row.request) + "\n" + row.response + "\n";
  }
  EXPECT_EQ(analysed(messages), expected);
}

}  // namespace
}  // namespace ruvex
