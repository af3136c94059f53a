#include "ruvex/modbus/codes.h"

#include <iterator>

namespace ruvex {
namespace {

// The texts end before the codes of masters (16 to 18): these read as "Unknown Error".
constexpr const char* ErrStr[] = {
    "Unknown Error",            // also of every code without a row
    "Illegal Function",         // MOD_ILLEGAL_FUNCTION
    "Illegal Data Address",     // MOD_ILLEGAL_DATA_ADDRESS
    "Illegal Data Value",       // MOD_ILLEGAL_DATA_VALUE
    "Slave Device Failure",     // 4
    "Acknowledge",              // 5
    "Slave Device Busy",        // 6
    "Negative Acknowledge",     // MOD_NEGATIVE_ACKNOWLEDGE
    "Memory Parity Error",      // 8
    "Receive Packet Corrupt",   // 9
    "Not Our Address",          // 10
    "Response Timeout",         // 11
    "Data Receive Error",       // MOD_SLAVE_CORRUPT
    "Data Transmit Error",      // MOD_SLAVE_NO_FRAME
    "Illegal Object Instance",  // MOD_SLAVE_NOT_SENT
};
static_assert(std::size(ErrStr) == MOD_SLAVE_NOT_SENT + 1);

}  // namespace

const char* mod_errStr(int code) noexcept {
  return ErrStr[code >= 0 && code < static_cast<int>(std::size(ErrStr)) ? code : 0];
}

}  // namespace ruvex
