// Direction control of an RS-485 line by the driver: RTS switches the transceiver to sending.
#pragma once

#include <cstdint>

#include "ruvex/serial/port.h"

namespace ruvex {

// A new record suits most transceivers. The delays are milliseconds, 0 or more; many drivers take
// 100 at most.
struct ser_rs485 {
  std::int32_t delay_before_send = 0;  // from RTS to the first bit
  std::int32_t delay_after_send = 0;   // from the last bit until RTS goes back
  bool rts_on_send = true;             // level of RTS while sending; the other level otherwise
  bool receive_on_send = false;        // whether what is sent is received as well
};

// Switches the direction control on with these settings, or off when `rs485` is null: 0. -1 on
// failure, with errno; nothing is printed, since a caller may go on without:
//   ENOTTY      the driver has no direction control, as that of a pseudo-terminal
//   EINVAL      a delay is negative; or the driver's own refusal
//   EOPNOTSUPP  the driver took the settings only in part
//   ENOMEM
// or another error of the driver's. After a failure the line has the settings that it had before
// the call. The driver keeps them beyond the life of a port; so serClose puts back those that the
// first call on the port found.
std::int32_t serSetRs485(ser_port* port, const ser_rs485* rs485) noexcept;

}  // namespace ruvex
