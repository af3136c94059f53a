// A Modbus RTU slave on a serial line: ten holding registers for whichever master asks.
//
//   modbus_slave PORT    a port number of serial/serial.h: 0 is /dev/ttyS0, 10 is /dev/ttyUSB0

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ruvex/modbus/frame.h"
#include "ruvex/modbus/request.h"
#include "ruvex/modbus/transaction.h"
#include "ruvex/serial/serial.h"

using namespace ruvex;

namespace {

constexpr std::uint8_t own_address = 17;
constexpr std::size_t first_reference = 108;
std::uint16_t registers[10] = {555, 0, 100};

// Fills the record with the answer.
void serve(mod_mex& mex) {
  const std::size_t first = mex.ref - first_reference;  // one below it is beyond the end
  const bool is_read = mex.fcn == 3;
  if (!is_read && mex.fcn != 6 && mex.fcn != 16) {
    mex.data[0] = MOD_ILLEGAL_FUNCTION;
  } else if (first > std::size(registers) || mex.count > std::size(registers) - first) {
    mex.data[0] = MOD_ILLEGAL_DATA_ADDRESS;
  } else {
    void* const own = registers + first;
    std::memcpy(is_read ? mex.data : own, is_read ? own : mex.data, 2U * mex.count);
    return;
  }
  mex.fcn |= 0x80;
}

}  // namespace

int main(int argc, char** argv) {
  const ser_port_ptr port(argc == 2 ? serOpen(std::atoi(argv[1]), 19200, 1) : nullptr);
  if (port == nullptr) return 1;
  mod_ctx ctx = {};
  mod_init(&ctx, MOD_RTU, port.get(), serRecvBuf, serSendBuf);
  for (int silences = 0; silences < 50;) {  // five seconds without a master end the program
    if (mod_waitRequest(&ctx) < 0) {
      ++silences;
      continue;
    }
    silences = 0;
    mod_mex mex = {};
    const std::int32_t result = mod_slaveRx(&ctx, &mex, MOD_SKIP_RX);
    if (result != 0 && mex.data[0] == MOD_SLAVE_CORRUPT) continue;  // no request
    if (mex.addr != own_address) continue;
    if (result == 0) serve(mex);
    if (mod_slaveTx(&ctx, &mex, 0) != 0) std::fprintf(stderr, "no answer to %d\n", mex.fcn);
  }
  return 0;
}
