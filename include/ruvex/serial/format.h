// The speed and the character format of a serial line.
#pragma once

#include <cstdint>

namespace ruvex {

// A new record holds what Modbus RTU asks of every device.
struct ser_format {
  // Baud: 300, 600, 1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200, 230400, 460800,
  // 500000, 576000 or 921600.
  std::int32_t baud = 19200;
  std::int32_t data_bits = 8;  // 7 or 8
  char parity = 'E';           // 'N' none, 'E' even, 'O' odd
  std::int32_t stop_bits = 1;  // 1 or 2
};

// Reads a text such as "19200,8E1": baud, comma, data bits, parity, stop bits. False for any other
// text: another value, a sign, a leading zero, a small letter, a space. Then `format` stays
// unchanged.
bool serParseFormat(const char* text, ser_format& format) noexcept;

}  // namespace ruvex
