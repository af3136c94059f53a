// A Modbus RTU master on a serial line: reads three registers of slave 17, writes one, and asks for
// one that the slave does not have.
//
//   modbus_master PORT    a port number of serial/serial.h: 0 is /dev/ttyS0, 10 is /dev/ttyUSB0

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/serial/serial.h"

using namespace ruvex;

namespace {

mod_mex request(std::uint8_t fcn, std::uint16_t ref, std::uint16_t count) {
  mod_mex mex = {};
  mex.addr = 17;
  mex.fcn = fcn;
  mex.ref = ref;  // counted from 1: 108 is 40108, and 107 on the line
  mex.count = count;
  return mex;
}

int print_registers(mod_ctx& ctx) {
  mod_mex mex = request(3, 108, 3);
  if (mod_masterTxRx(&ctx, &mex) != 0) return -1;
  std::uint16_t values[3];
  std::memcpy(values, mex.data, sizeof values);  // words in the host's order
  return std::printf("registers 108 to 110: %d %d %d\n", values[0], values[1], values[2]);
}

}  // namespace

int main(int argc, char** argv) {
  const ser_port_ptr port(argc == 2 ? serOpen(std::atoi(argv[1]), 19200, 5) : nullptr);
  if (port == nullptr) return 1;
  mod_ctx ctx = {};
  mod_init(&ctx, MOD_RTU, port.get(), serRecvBuf, serSendBuf);
  if (print_registers(ctx) < 0) return 1;

  mod_mex mex = request(6, 109, 1);
  const std::uint16_t value = 42;
  std::memcpy(mex.data, &value, sizeof value);
  if (mod_masterTxRx(&ctx, &mex) != 0 || print_registers(ctx) < 0) return 1;

  mex = request(3, 200, 1);
  if (mod_masterTx(&ctx, &mex, 0) == 0 && mod_masterRx(&ctx, &mex, 0) != 0) {
    std::printf("register 200: %s\n", mod_errStr(mex.data[0]));
  }
  return 0;
}
