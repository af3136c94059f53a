// Serial lines in raw mode: an on-board UART, a USB adapter, or the console.
//
//   ser_port_ptr port(serOpen(10, 9600, 5));  // /dev/ttyUSB0, 9600 baud, reads give up after 0.5 s
//   if (port == nullptr) return;              // standard error says why
//   serSendStr(port.get(), "AT\r");
//   std::int32_t byte = serRecv(port.get());
//
//   serial.h   opening by number and by path, closing, sending, receiving
//   format.h   speed and character format of a port that is opened by path
//   port.h     the record
//   rs485.h    direction control of an RS-485 line
//
// Port numbers:
//   -1         the console: standard input, descriptor 0
//   0 to 5     /dev/ttyS0 to /dev/ttyS5
//   10 to 15   /dev/ttyUSB0 to /dev/ttyUSB5
//   20 to 25   /dev/ttyAM0 to /dev/ttyAM5
//
// Failures are reported on standard error where an operation says so. Nothing is retried: a call
// that a signal interrupts gives -1 (errno EINTR). A handler that was installed to resume calls
// (SA_RESTART) prevents that, except in serRecvTimeout. Once a line has gone (an adapter was
// unplugged, the other end of a pseudo-terminal was closed), receiving and sending give -1, and
// serClose works as ever. A process in the background that opens or closes the console is stopped
// by the terminal (SIGTTOU).
//
// A port is used by one thread at a time; separate ports may be used by separate threads. All
// threads share `c_cflag` and `c_iflag`, which nothing guards.
#pragma once

#include <cstdint>
#include <memory>

#include "ruvex/serial/format.h"
#include "ruvex/serial/port.h"

namespace ruvex {

// The character format of every device port that is opened by number from now on: flags that are
// added to the control flags and to the input flags. At the start they stand for 8 data bits, no
// parity, 1 stop bit, receiver on and modem lines ignored (CS8, CREAD, CLOCAL), and IGNPAR. Ports
// that are open keep theirs.
extern tcflag_t c_cflag;
extern tcflag_t c_iflag;

// Opens a port in raw mode, a device with the speed and the format above. Unread input is
// discarded.
//   baud     a device's is 2400, 4800, 9600, 19200, 38400, 57600 or 115200. The console keeps its
//            speed, whatever the number.
//   timeout  in tenths of a second. 0: a read waits for a byte without end. Otherwise a read ends
//            when no byte has come for that long. Only the low 8 bits count, so 256 makes reads
//            return at once.
// The caller owns the port and closes it with serClose. Null on failure: nothing stays open or
// allocated, the line has its former settings again, and standard error holds one of these
// ("perror" is followed by the system's text):
//   Invalid baud rate: 230400                       before anything else is looked at
//   perror serOpen:calloc():
//   Not a terminal!                                 the console, when standard input is none
//   Invalid serial port: /dev/ttyS6                 the number is not in the list above
//   serOpen:Error trying to open /dev/ttyUSB0       and on the next line perror serOpen:open():
//   perror serOpen:fcntl():
//   perror serOpen:tcsetattr():
// Descriptor 0 always counts as the console and is never closed. A process that runs without
// standard input opens something there first; otherwise a device may get that descriptor.
ser_port* serOpen(std::int32_t port_number, std::int32_t baud, std::int32_t timeout) noexcept;

// Sets `c_cflag` and `c_iflag` and opens as serOpen. They keep the format, also when opening fails:
//   mode   data bits   parity   stop bits   received bytes
//   1      7           none     2           as they come
//   2      7           even     1           cut to 7 bits
//   3      7           odd      1           cut to 7 bits
//   4      8           none     2           as they come
//   5      8           even     1           cut to 7 bits
//   6      8           odd      1           cut to 7 bits
// Any other mode keeps the format set last. CREAD and CLOCAL are added in every case. A byte whose
// parity is wrong is received as 0. Modes 5 and 6 suit protocols of 7-bit characters only, since
// they cut as well.
ser_port* serOpenMod(std::int32_t port_number, std::int32_t baud, std::int32_t timeout,
                     std::int32_t mode) noexcept;

// Opens the terminal device at `path` in raw mode, with `format` and nothing of `c_cflag` and
// `c_iflag`. Modem lines are ignored, and unread input is discarded. All bits of a byte are kept. A
// byte whose parity is wrong is received as 0, so that a checksum finds it. Without parity, a byte
// whose stop bit is wrong is dropped.
//   path     not null; at most 87 characters, such as "/dev/serial/by-id/usb-..." or "/dev/ttyACM0"
//   timeout  as for serOpen, but 0 to 255
// The caller owns the port, whose `index` is -1. Null on failure: nothing stays open or allocated,
// the line has its former settings again, and standard error holds one of these. What is no
// character device is not even opened; nothing is created or cut, and opening does not wait.
//   Invalid baud rate: 31250                          and so on for the parts of `format`:
//   Invalid data bits: 9
//   Invalid parity: X                                 0x07, if the character cannot be printed
//   Invalid stop bits: 3
//   Invalid time-out: 256
//   serOpen:Path longer than 87 characters: /dev/...
//   perror serOpen:calloc():
//   Not a terminal: /dev/null
//   serOpen:Error trying to open /dev/ttyACM0         and on the next line perror serOpen:open():
//   perror serOpen:fcntl():
//   perror serOpen:tcgetattr():
//   perror serOpen:tcsetattr():
//   serOpen:/dev/ttyACM0 does not take parity E       or another part of `format`
// The last one is for a driver that takes the settings only in part. A pseudo-terminal carries 8
// bits without parity, whatever is asked for, and no line stands behind it; so its data bits and
// parity are not compared.
ser_port* serOpenPath(const char* path, const ser_format& format, std::int32_t timeout) noexcept;

// Puts back the settings that were found at opening, and those that serSetRs485 found (rs485.h),
// closes the device (the console stays open) and releases the port. Output that is still waiting
// may be lost: call serTxWait first. Null is allowed; no other operation allows it.
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
// is the number of bytes written, which is less than all only after a signal or when the line has
// gone; -1 (errno) on failure and for a negative length.
std::int32_t serSendStr(ser_port* port, const char* string) noexcept;
std::int32_t serSendBuf(void* port, const void* buffer, std::int32_t length) noexcept;
std::int32_t serSend(ser_port* port, std::uint8_t byte) noexcept;

// Drops what has come and has not been read, in the driver as well: 0; -1 on failure (errno). A
// byte that is still in the adapter comes later. It takes a ser_port as serRecvBuf does.
std::int32_t serDropInput(void* port) noexcept;

// Receives up to `length` bytes into `buffer`. The result is how many have come, at least 1; -1
// when none has come within the port's time-out, on failure, and for a length below 1.
//
// serRecvBuf and serSendBuf take a ser_port as `void*`, so that they can be handed as they are to
// whatever wants a transport of a handle and two functions.
std::int32_t serRecvBuf(void* port, void* buffer, std::int32_t length) noexcept;

// Receives a byte: 0 to 255; -1 as serRecvBuf.
std::int32_t serRecv(ser_port* port) noexcept;

// As serRecv, but waits at most `milliseconds` (0 or more) for the byte, whatever the port's
// time-out: 256 when nothing has come. -1 and perror serRecvTimeout:select() when waiting fails. It
// fails for a negative time, and for a port whose descriptor is above 1023, since the wait is a
// select over 1024 descriptors (both EINVAL).
std::int32_t serRecvTimeout(ser_port* port, std::int32_t milliseconds) noexcept;

}  // namespace ruvex
