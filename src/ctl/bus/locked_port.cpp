#include "locked_port.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "command.h"

namespace ruvex {

locked_port::locked_port(const char* path, const ser_format& format, std::int32_t timeout) {
  if (!lock(path)) return;
  port_.reset(serOpenPath(path, format, timeout));  // it says itself what is wrong
  if (port_ != nullptr) ::ioctl(port_->fd, TIOCEXCL);
}

// The terminal would stay exclusive as long as somebody else has it open.
locked_port::~locked_port() {
  if (port_ != nullptr) ::ioctl(port_->fd, TIOCNXCL);
  port_.reset();
  if (lock_ >= 0) ::close(lock_);
}

// What is there and no device is left to serOpenPath, which says so and does not open it.
bool locked_port::lock(const char* path) noexcept {
  struct stat status = {};
  const bool is_there = ::stat(path, &status) == 0;
  if (is_there && !S_ISCHR(status.st_mode)) return true;
  lock_ = is_there ? ::open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC) : -1;
  const bool is_locked = lock_ >= 0 && ::flock(lock_, LOCK_EX | LOCK_NB) == 0;
  if (is_locked) return true;
  if (errno == EBUSY || errno == EWOULDBLOCK) {
    complain("%s: the serial port is in use by another program", path);
  } else {
    complain("%s: %s", path, std::strerror(errno));
  }
  return false;
}

}  // namespace ruvex
