// Serial lines in raw mode: an on-board UART, a USB adapter, or the console.
//
//   ser_port_ptr port(serOpen(10, 9600, 5));  // /dev/ttyUSB0, 9600 baud, reads give up after 0.5 s
//   if (port == nullptr) return;              // standard error says why
//   serSendStr(port.get(), "AT\r");
//   std::int32_t byte = serRecv(port.get());
//
// Port numbers:
//   -1         the console: standard input, descriptor 0
//   0 to 5     /dev/ttyS0 to /dev/ttyS5
//   10 to 15   /dev/ttyUSB0 to /dev/ttyUSB5
//   20 to 25   /dev/ttyAM0 to /dev/ttyAM5
//
// Failures are reported on standard error where an operation says so. Nothing is retried: a call
// that a signal interrupts gives -1 (errno EINTR); a handler installed to resume calls prevents
// that, but for serRecvTimeout. Once a line has gone (an adapter unplugged, the other end of a
// pseudo-terminal closed), receiving and sending give -1, and the port is closed as any other. A
// process that opens or closes the console from the background is stopped, as the terminal's own
// rules have it (SIGTTOU).
//
// A port is used by one thread at a time. `c_cflag` and `c_iflag` are shared by all threads.
#pragma once

#include <termios.h>

#include <cstdint>
#include <memory>

namespace ruvex {

// An open port. To be read by callers, and changed only through the operations.
struct ser_port {
  std::int32_t index;  // number in the device path; 0 for the console
  speed_t speed;       // code of the speed, B2400 to B115200; the console's `baud` as given
  std::int32_t fd;     // 0 for the console
  char dev_name[88];   // path of the device, NUL-terminated; empty for the console
  termios tio;         // the settings that the port applies
  termios tio_saved;   // the settings found by serOpen
};

// The character format of every device port opened from now on: flags that are added to the control
// and to the input flags. At the start 8 data bits, no parity, 1 stop bit, receiver on, modem lines
// ignored (CS8, CREAD, CLOCAL), and IGNPAR. Ports that are open keep theirs.
extern tcflag_t c_cflag;
extern tcflag_t c_iflag;

// Opens a port: raw, and for a device with the speed and the format above. Unread input is
// discarded.
//   baud     of a device 2400, 4800, 9600, 19200, 38400, 57600 or 115200. The console's speed stays
//            as it is; any number will do.
//   timeout  in tenths of a second. 0: a read waits for a byte without end. Otherwise a read ends
//            when no byte has come for that long; only the low 8 bits count, so 256 makes reads
//            return at once.
// The caller owns the port and closes it with serClose. Null on failure; then nothing stays open or
// allocated, what was set on the line has been put back, and standard error holds one of these
// ("perror" is followed by the system's text):
//   Invalid baud rate: 230400                       before anything else is looked at
//   perror serOpen:calloc():
//   Not a terminal!                                 the console, when standard input is none
//   Invalid serial port: /dev/ttyS6                 the number is not in the list above
//   serOpen:Error trying to open /dev/ttyUSB0       and on the next line perror serOpen:open():
//   perror serOpen:fcntl():
//   perror serOpen:tcsetattr():
// Descriptor 0 always counts as the console and is never closed: a process that runs without
// standard input opens something there first, lest a device come to stand on it.
ser_port* serOpen(std::int32_t port_number, std::int32_t baud, std::int32_t timeout) noexcept;

// As serOpen, having set `c_cflag` and `c_iflag`, which also keep the format when opening fails:
//   mode   data bits   parity   stop bits   received bytes
//   1      7           none     2           as they come
//   2      7           even     1           cut to 7 bits
//   3      7           odd      1           cut to 7 bits
//   4      8           none     2           as they come
//   5      8           even     1           cut to 7 bits
//   6      8           odd      1           cut to 7 bits
// Any other mode keeps the format set last. CREAD and CLOCAL are added in every case. A byte whose
// parity is wrong is received as 0. Since 5 and 6 cut as well, they suit protocols of 7-bit
// characters only.
ser_port* serOpenMod(std::int32_t port_number, std::int32_t baud, std::int32_t timeout,
                     std::int32_t mode) noexcept;

// Puts back the settings found by serOpen, closes the device (the console stays open) and releases
// the port. Output that is still waiting may be lost: serTxWait comes first. Null is allowed, here
// alone.
void serClose(ser_port* port) noexcept;

// Owns a port.
struct ser_port_close {
  void operator()(ser_port* port) const noexcept { serClose(port); }
};
using ser_port_ptr = std::unique_ptr<ser_port, ser_port_close>;

// Changes the speed at once, to 9600, 19200, 38400, 57600 or 115200 baud: 0. Any other `baud` gives
// -1 and changes nothing. When the line refuses: -1, perror serSetBaud:tcsetattr():, and `speed`
// and `tio` keep the new speed.
std::int32_t serSetBaud(ser_port* port, std::int32_t baud) noexcept;

// Changes nothing, since the time-out is fixed by serOpen: 0.
std::int32_t serSetTimeout(ser_port* port, std::int32_t timeout) noexcept;

// Waits until everything written has been transmitted: 0; -1 on failure (errno).
std::int32_t serTxWait(ser_port* port) noexcept;

// Send a text without its NUL, `length` bytes of `buffer`, one byte. They wait for room. The result
// is the number of bytes written, less than all only when a signal or the loss of the line came
// between; or -1 (errno), also for a negative length.
std::int32_t serSendStr(ser_port* port, const char* string) noexcept;
std::int32_t serSendBuf(void* port, const void* buffer, std::int32_t length) noexcept;
std::int32_t serSend(ser_port* port, std::uint8_t byte) noexcept;

// Receives up to `length` bytes into `buffer` and returns how many have come, at least 1. -1 when
// none has come within the port's time-out, on failure, and for a length below 1.
//
// serRecvBuf and serSendBuf take a ser_port as `void*`, so that they can be handed as they are to
// whatever wants a transport of a handle and two functions.
std::int32_t serRecvBuf(void* port, void* buffer, std::int32_t length) noexcept;

// Receives a byte: 0 to 255; -1 as serRecvBuf.
std::int32_t serRecv(ser_port* port) noexcept;

// As serRecv, but waits at most `milliseconds` (0 or more) for the byte, whatever the port's
// time-out: 256 when nothing has come. When waiting fails, -1 and perror serRecvTimeout:select();
// so it does for a negative time and, a select being over 1024 descriptors, for a port whose
// descriptor is above 1023 (both EINVAL).
std::int32_t serRecvTimeout(ser_port* port, std::int32_t milliseconds) noexcept;

}  // namespace ruvex
