#include "ruvex/serial/serial.h"

#include <linux/serial.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

#include "line_settings.h"
#include "opening.h"

namespace ruvex {
namespace {

static_assert(FD_SETSIZE == 1024);

constexpr std::int32_t console_number = -1;

struct family {
  std::int32_t first_number;
  const char* name;
};
struct mode_flags {
  std::int32_t mode;
  tcflag_t input, control;
};
// clang-format off
constexpr family families[] = {
    {20, "AM"},
    {10, "USB"},
    { 0, "S"},
};
constexpr mode_flags modes[] = {
    {1, IGNPAR,         CS7 | CSTOPB},
    {2, INPCK | ISTRIP, CS7 | PARENB},
    {3, INPCK | ISTRIP, CS7 | PARENB | PARODD},
    {4, IGNPAR,         CS8 | CSTOPB},
    {5, INPCK | ISTRIP, CS8 | PARENB},
    {6, INPCK | ISTRIP, CS8 | PARENB | PARODD},
};
// clang-format on
constexpr std::uint32_t devices_of_a_family = 6;
constexpr tcflag_t always = CREAD | CLOCAL;

// Sets `index` and `dev_name`; false when there is no such device.
bool name_device(ser_port& port, std::int32_t number) {
  const family* of = families;
  while (number < of->first_number && of != std::end(families) - 1) ++of;
  port.index = number - of->first_number;
  std::snprintf(port.dev_name, sizeof port.dev_name, "/dev/tty%s%d", of->name, port.index);
  return static_cast<std::uint32_t>(port.index) < devices_of_a_family;
}

ser_port* finish(unfinished_port port, std::int32_t timeout) {
  const bool is_set = try_settings(*port, timeout) || refuse_settings(*port);
  return is_set ? port.release() : nullptr;
}

ser_port* open_console(std::int32_t baud, std::int32_t timeout) {
  unfinished_port port = allocate_port(static_cast<speed_t>(baud));
  if (port == nullptr) return nullptr;
  if (isatty(STDIN_FILENO) == 0) {
    std::fputs("Not a terminal!\n", stderr);
    return nullptr;
  }
  port->fd = STDIN_FILENO;
  tcgetattr(port->fd, &port->tio_saved);
  port->tio = port->tio_saved;
  cfmakeraw(&port->tio);
  return finish(std::move(port), timeout);
}

ser_port* open_device(std::int32_t number, std::int32_t baud, std::int32_t timeout) {
  const rate* speed = find_rate(baud, rate_user::number);
  if (speed == nullptr) {
    std::fprintf(stderr, "Invalid baud rate: %d\n", baud);
    return nullptr;
  }
  unfinished_port port = allocate_port(speed->code);
  if (port == nullptr) return nullptr;
  if (!name_device(*port, number)) {
    std::fprintf(stderr, "Invalid serial port: %s\n", port->dev_name);
    return nullptr;
  }
  if (!open_descriptor(*port)) return nullptr;
  tcgetattr(port->fd, &port->tio_saved);
  // What is not named here stays zero: no line editing, no echo, no output processing.
  cfsetispeed(&port->tio, speed->code);
  cfsetospeed(&port->tio, speed->code);
  port->tio.c_cflag |= c_cflag;
  port->tio.c_iflag |= c_iflag;
  return finish(std::move(port), timeout);
}

std::int32_t write_bytes(const ser_port& port, const void* bytes, std::size_t size) {
  return static_cast<std::int32_t>(write(port.fd, bytes, size));
}

bool is_length(std::int32_t length) {
  if (length >= 0) return true;
  errno = EINVAL;
  return false;
}

// As select: -1, 0 when the time has passed, 1.
int wait_for_input(int fd, std::int32_t milliseconds) {
  if (fd < 0 || fd >= FD_SETSIZE) {
    errno = EINVAL;
    return -1;
  }
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  timeval time = {milliseconds / 1000, milliseconds % 1000 * 1000L};
  return select(FD_SETSIZE, &readable, nullptr, nullptr, &time);
}

}  // namespace

tcflag_t c_cflag = CS8 | CREAD | CLOCAL;
tcflag_t c_iflag = IGNPAR;

ser_port* serOpen(std::int32_t port_number, std::int32_t baud, std::int32_t timeout) noexcept {
  return port_number == console_number ? open_console(baud, timeout)
                                       : open_device(port_number, baud, timeout);
}

ser_port* serOpenMod(std::int32_t port_number, std::int32_t baud, std::int32_t timeout,
                     std::int32_t mode) noexcept {
  const mode_flags* found = std::ranges::find(modes, mode, &mode_flags::mode);
  if (found != std::end(modes)) {
    c_iflag = found->input;
    c_cflag = found->control;
  }
  c_cflag |= always;
  return serOpen(port_number, baud, timeout);
}

void serClose(ser_port* port) noexcept {
  if (port == nullptr) return;
  if (port->rs485_saved != nullptr) ioctl(port->fd, TIOCSRS485, port->rs485_saved);
  std::free(port->rs485_saved);
  tcsetattr(port->fd, TCSANOW, &port->tio_saved);
  give_up()(port);
}

std::int32_t serSetBaud(ser_port* port, std::int32_t baud) noexcept {
  const rate* speed = find_rate(baud, rate_user::change);
  if (speed == nullptr) return -1;
  port->speed = speed->code;
  cfsetispeed(&port->tio, speed->code);
  cfsetospeed(&port->tio, speed->code);
  if (tcsetattr(port->fd, TCSANOW, &port->tio) == 0) return 0;
  std::perror("serSetBaud:tcsetattr():");
  return -1;
}

std::int32_t serSetTimeout(ser_port* /*port*/, std::int32_t /*timeout*/) noexcept {
  return 0;
}

std::int32_t serTxWait(ser_port* port) noexcept {
  return tcdrain(port->fd);
}

std::int32_t serSendStr(ser_port* port, const char* string) noexcept {
  return write_bytes(*port, string, std::strlen(string));
}

std::int32_t serSendBuf(void* port, const void* buffer, std::int32_t length) noexcept {
  if (!is_length(length)) return -1;
  return write_bytes(*static_cast<ser_port*>(port), buffer, static_cast<std::size_t>(length));
}

std::int32_t serSend(ser_port* port, std::uint8_t byte) noexcept {
  return write_bytes(*port, &byte, 1);
}

std::int32_t serDropInput(void* port) noexcept {
  return tcflush(static_cast<ser_port*>(port)->fd, TCIFLUSH);
}

std::int32_t serRecvBuf(void* port, void* buffer, std::int32_t length) noexcept {
  if (!is_length(length)) return -1;
  const ssize_t received =
      read(static_cast<ser_port*>(port)->fd, buffer, static_cast<std::size_t>(length));
  return received > 0 ? static_cast<std::int32_t>(received) : -1;
}

std::int32_t serRecv(ser_port* port) noexcept {
  std::uint8_t byte = 0;
  return serRecvBuf(port, &byte, 1) < 0 ? -1 : byte;
}

std::int32_t serRecvTimeout(ser_port* port, std::int32_t milliseconds) noexcept {
  const int ready = wait_for_input(port->fd, milliseconds);
  if (ready == 0) return 256;
  if (ready > 0) return serRecv(port);
  std::perror("serRecvTimeout:select()");
  return -1;
}

}  // namespace ruvex
