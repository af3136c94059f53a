#include <linux/major.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "line_settings.h"
#include "opening.h"
#include "ruvex/serial/serial.h"

namespace ruvex {
namespace {

constexpr std::int32_t no_number = -1;
constexpr std::int32_t longest_timeout = 255;

bool are_possible(const ser_format& format, std::int32_t timeout) {
  const line_setting* impossible = find_impossible(format);
  if (impossible != nullptr) {
    std::fprintf(stderr, "Invalid %s: %s\n", impossible->name,
                 show_value(*impossible, format).text);
    return false;
  }
  if (timeout >= 0 && timeout <= longest_timeout) return true;
  std::fprintf(stderr, "Invalid time-out: %d\n", timeout);
  return false;
}

bool store_path(ser_port& port, const char* path) {
  const std::size_t size = std::strlen(path) + 1;
  if (size > sizeof port.dev_name) {
    std::fprintf(stderr, "serOpen:Path longer than 87 characters: %s\n", path);
    return false;
  }
  std::memcpy(port.dev_name, path, size);
  return true;
}

bool is_not_a_terminal(const ser_port& port) {
  std::fprintf(stderr, "Not a terminal: %s\n", port.dev_name);
  return false;
}

// Opening a FIFO would already be seen by the process at its other end.
bool may_be_terminal(const ser_port& port) {
  struct stat found = {};
  const bool is_something_else = stat(port.dev_name, &found) == 0 && !S_ISCHR(found.st_mode);
  return !is_something_else || is_not_a_terminal(port);
}

bool read_settings(const ser_port& port, termios& tio) {
  if (tcgetattr(port.fd, &tio) == 0) return true;
  if (errno == ENOTTY) return is_not_a_terminal(port);
  std::perror("serOpen:tcgetattr():");
  return false;
}

bool is_pseudo_terminal(int fd) {
  struct stat device = {};
  if (fstat(fd, &device) != 0) return false;
  const unsigned number = major(device.st_rdev);
  return number >= UNIX98_PTY_SLAVE_MAJOR &&
         number < UNIX98_PTY_SLAVE_MAJOR + UNIX98_PTY_MAJOR_COUNT;
}

// Where the line already has all that the driver takes, some systems' tcsetattr fails with EINVAL,
// as nothing has changed. A pseudo-terminal never takes parity, so it is soon left like that.
bool may_have_settings(const ser_port& port) {
  return errno == EINVAL && is_pseudo_terminal(port.fd);
}

// tcsetattr succeeds as soon as the driver has taken anything.
bool took_all(const ser_port& port, const ser_format& format) {
  termios line = {};
  if (!read_settings(port, line)) return false;
  const line_setting* missing = find_difference(port.tio, line, is_pseudo_terminal(port.fd));
  if (missing == nullptr) return true;
  std::fprintf(stderr, "serOpen:%s does not take %s %s\n", port.dev_name, missing->name,
               show_value(*missing, format).text);
  return false;
}

}  // namespace

ser_port* serOpenPath(const char* path, const ser_format& format, std::int32_t timeout) noexcept {
  if (!are_possible(format, timeout)) return nullptr;
  const termios wanted = make_settings(format);
  unfinished_port port = allocate_port(cfgetospeed(&wanted));
  if (port == nullptr || !store_path(*port, path)) return nullptr;
  if (!may_be_terminal(*port) || !open_descriptor(*port)) return nullptr;
  if (!read_settings(*port, port->tio_saved)) return nullptr;
  port->index = no_number;
  port->tio = wanted;
  if (!try_settings(*port, timeout) && !may_have_settings(*port)) {
    refuse_settings(*port);
    return nullptr;
  }
  if (took_all(*port, format)) return port.release();
  tcsetattr(port->fd, TCSANOW, &port->tio_saved);
  return nullptr;
}

}  // namespace ruvex
