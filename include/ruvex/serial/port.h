// The record that every operation on a serial line works on.
#pragma once

#include <termios.h>

#include <cstdint>

struct serial_rs485;  // of <linux/serial.h>

namespace ruvex {

// An open port. To be read by callers, and changed only through the operations.
struct ser_port {
  std::int32_t index;  // number in the device path; 0 for the console, -1 when opened by path
  speed_t speed;       // code of the speed, B300 to B921600; of the console `baud` as given
  std::int32_t fd;     // 0 for the console
  char dev_name[88];   // path of the device, NUL-terminated; empty for the console
  termios tio;         // the settings that the port applies
  termios tio_saved;   // the settings found at opening
  serial_rs485* rs485_saved;  // what serSetRs485 found first; null until then
};

}  // namespace ruvex
