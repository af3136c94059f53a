// A Modbus/TCP master: reads a temperature of unit 1, a float in two input registers, several
// times. It goes on when the device or a gateway closes the connection.
//
//   modbus_tcp_master HOST PORT TIMES    for example: modbus_tcp_master 10.0.0.7 502 10

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "ruvex/modbus/client.h"
#include "ruvex/modbus/values.h"

using namespace ruvex;

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  mod_tcp_server server = {argv[1], argv[2]};
  mod_line line;
  mod_lineInit(&line, mod_tcpOpen, &server, 1000);
  mod_client client;
  mod_clientInit(&client, MOD_TCP, line);
  for (int left = std::atoi(argv[3]); left > 0; --left) {
    std::uint16_t registers[2];
    const mod_outcome outcome = mod_readInputRegisters(&client, 1, 31, 2, registers);
    if (outcome.status == mod_status::ok) {
      std::printf("%.1f degrees\n", mod_getFloat(registers, mod_word_order::high_first));
    } else {
      std::printf("no value: %s\n", mod_outcomeText(outcome));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  mod_clientClose(&client);
  return 0;
}
