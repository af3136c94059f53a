// A Modbus RTU master on a serial line: reads three registers of slave 17, writes one, and asks for
// one that the slave does not have.
//
//   modbus_master PATH FORMAT    for example: modbus_master /dev/ttyUSB0 19200,8E1

#include <cstdio>

#include "ruvex/modbus/client.h"
#include "ruvex/serial/serial.h"

using namespace ruvex;

namespace {

constexpr std::uint8_t slave = 17;

bool print_registers(mod_client& client, std::uint16_t ref, std::uint16_t count) {
  std::uint16_t values[mod_most_registers_read];
  const mod_outcome outcome = mod_readHoldingRegisters(&client, slave, ref, count, values);
  if (outcome.status != mod_status::ok) {
    std::printf("register %d: %s\n", ref, mod_outcomeText(outcome));
    return false;
  }
  std::printf("registers from %d:", ref);  // counted from 1: 108 is 40108, and 107 on the line
  for (int at = 0; at < count; ++at) std::printf(" %d", values[at]);
  std::printf("\n");
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  ser_format format;
  if (argc != 3 || !serParseFormat(argv[2], format)) return 2;
  const ser_port_ptr port(serOpenPath(argv[1], format, 0));
  if (port == nullptr) return 1;  // standard error says why
  mod_line line;
  mod_lineInit(&line, port->fd, 500, format.baud);
  mod_client client;
  mod_clientInit(&client, MOD_RTU, line);

  if (!print_registers(client, 108, 3)) return 1;
  if (mod_writeRegister(&client, slave, 109, 42).status != mod_status::ok) return 1;
  if (!print_registers(client, 108, 3)) return 1;
  print_registers(client, 200, 1);
  return 0;
}
