// Modbus TCP transactions on loopback, for bench/compare: the seconds that COUNT reads of ten
// holding registers take, by the master of one library from the slave of one, go to standard
// output. The slave is a process of its own.
//
//   modbus_peers ruvex|libmodbus ruvex|libmodbus COUNT

#include <arpa/inet.h>
#include <modbus/modbus.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/modbus/transport.h"

namespace {

using namespace ruvex;

constexpr int registers = 10;

void set_up(mod_ctx& ctx, mod_buffered& buffered, int& fd) {
  mod_bufferedInit(&buffered, &fd, mod_socketRecv, mod_socketSend);
  mod_init(&ctx, MOD_TCP, &buffered, mod_bufferedRecv, mod_bufferedSend);
}

void serve_ruvex(int listener) {
  int fd = ::accept(listener, nullptr, nullptr);
  mod_buffered buffered;
  mod_ctx ctx = {};
  mod_mex mex = {};
  set_up(ctx, buffered, fd);
  while (mod_slaveRx(&ctx, &mex, 0) == 0 && mod_slaveTx(&ctx, &mex, 0) == 0) continue;
}

void serve_libmodbus(int listener) {
  modbus_t* server = modbus_new_tcp("127.0.0.1", 0);
  modbus_mapping_t* tables = modbus_mapping_new(0, 0, registers, 0);
  std::uint8_t query[MODBUS_TCP_MAX_ADU_LENGTH];
  modbus_tcp_accept(server, &listener);
  for (int length = 0; length >= 0;) {
    length = modbus_receive(server, query);
    if (length > 0) modbus_reply(server, query, length, tables);
  }
}

sockaddr_in listen_on_loopback(int listener) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener, any, size) != 0 || ::listen(listener, 1) != 0 ||
      ::getsockname(listener, any, &size) != 0) {
    std::abort();
  }
  return address;
}

bool run_ruvex(const sockaddr_in& address, int count) {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
  mod_buffered buffered;
  mod_ctx ctx = {};
  set_up(ctx, buffered, fd);
  for (int at = 0; at < count; ++at) {
    mod_mex mex = {};
    mex.tid = static_cast<std::uint16_t>(at);
    mex.addr = 1, mex.fcn = 3, mex.ref = 1, mex.count = registers;
    if (mod_masterTxRx(&ctx, &mex) != 0 || mex.count != registers) return false;
  }
  return true;
}

bool run_libmodbus(const sockaddr_in& address, int count) {
  modbus_t* client = modbus_new_tcp("127.0.0.1", ntohs(address.sin_port));
  modbus_set_slave(client, 1);
  if (modbus_connect(client) != 0) return false;
  std::uint16_t values[registers];
  for (int at = 0; at < count; ++at) {
    if (modbus_read_registers(client, 0, registers, values) != registers) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 1;
  const auto is_ours = [](const char* library) { return std::strcmp(library, "ruvex") == 0; };
  const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = listen_on_loopback(listener);
  if (::fork() == 0) {
    (is_ours(argv[2]) ? serve_ruvex : serve_libmodbus)(listener);
    ::_exit(0);
  }
  ::close(listener);
  const auto start = std::chrono::steady_clock::now();
  if (!(is_ours(argv[1]) ? run_ruvex : run_libmodbus)(address, std::atoi(argv[3]))) return 1;
  std::printf("%.6f\n",
              std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  return 0;
}
