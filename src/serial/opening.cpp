#include "opening.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace ruvex {
namespace {

constexpr int no_descriptor = -1;

}  // namespace

unfinished_port allocate_port(speed_t speed) noexcept {
  unfinished_port port(static_cast<ser_port*>(std::calloc(1, sizeof(ser_port))));
  if (port == nullptr) {
    std::perror("serOpen:calloc():");
    return nullptr;
  }
  port->fd = no_descriptor;
  port->speed = speed;
  return port;
}

bool open_descriptor(ser_port& port) noexcept {
  // Without O_NONBLOCK the open would wait for the carrier of a line that has modem signals.
  port.fd = open(port.dev_name, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (port.fd < 0) {
    const int reason = errno;
    std::fprintf(stderr, "serOpen:Error trying to open %s\n", port.dev_name);
    errno = reason;
    std::perror("serOpen:open():");
    return false;
  }
  if (fcntl(port.fd, F_SETFL, 0) != 0) {
    std::perror("serOpen:fcntl():");
    return false;
  }
  return true;
}

bool try_settings(ser_port& port, std::int32_t timeout) noexcept {
  port.tio.c_cc[VMIN] = timeout == 0 ? 1 : 0;
  port.tio.c_cc[VTIME] = static_cast<cc_t>(timeout);
  tcflush(port.fd, TCIFLUSH);
  return tcsetattr(port.fd, TCSANOW, &port.tio) == 0;
}

bool refuse_settings(const ser_port& port) noexcept {
  std::perror("serOpen:tcsetattr():");
  tcsetattr(port.fd, TCSANOW, &port.tio_saved);
  return false;
}

}  // namespace ruvex
