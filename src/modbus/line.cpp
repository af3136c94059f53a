#include "ruvex/modbus/line.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "wait.h"

namespace ruvex {
namespace {

constexpr std::int32_t nothing_moved = -1;

std::int32_t found_closed(mod_line& line, int error) noexcept {
  line.is_closed = true;
  line.error = error;
  return nothing_moved;
}

bool is_passing(int error) noexcept {
  return error == EINTR || error == EAGAIN;
}

// Without MSG_NOSIGNAL a peer that has gone would end the program; terminals have no such flag.
ssize_t write_some(const mod_line& line, const void* bytes, std::size_t size) noexcept {
  return line.is_socket ? ::send(line.fd, bytes, size, MSG_NOSIGNAL)
                        : ::write(line.fd, bytes, size);
}

// A terminal that stops the flow would block a write for ever, unless the descriptor does not
// block.
void take_over(mod_line& line, int fd) noexcept {
  struct stat status = {};
  line.fd = fd;
  line.is_closed = false;
  line.is_socket = ::fstat(fd, &status) == 0 && S_ISSOCK(status.st_mode);
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags >= 0) ::fcntl(fd, F_SETFL, flags | O_NONBLOCK);
}

}  // namespace

void mod_lineInit(mod_line* line, int fd, std::int32_t timeout_ms, std::int32_t baud) noexcept {
  mod_lineInit(line, nullptr, nullptr, timeout_ms, baud);
  take_over(*line, fd);
}

void mod_lineInit(mod_line* line, mod_open_fn open_fn, void* where, std::int32_t timeout_ms,
                  std::int32_t baud) noexcept {
  *line = {-1, timeout_ms, baud, open_fn, where, false, 0, false};
}

std::int32_t mod_lineOpen(mod_line* line) noexcept {
  if (line->fd >= 0 && !line->is_closed) return 0;
  if (line->open_fn == nullptr)
    return found_closed(*line, line->is_closed ? line->error : ENOTCONN);
  mod_lineClose(line);
  const int fd = line->open_fn(line->where, line->timeout_ms);
  if (fd < 0) return found_closed(*line, errno);
  take_over(*line, fd);
  return 0;
}

void mod_lineClose(mod_line* line) noexcept {
  if (line->fd >= 0 && line->open_fn != nullptr) ::close(line->fd);
  line->fd = -1;
}

// Waits before it reads: a terminal may be set to give 0 bytes when it has none, which is no end.
std::int32_t mod_lineRecvTimeout(mod_line* line, void* buffer, std::int32_t length,
                                 std::int32_t timeout_ms) noexcept {
  line->is_closed = false;
  if (line->fd < 0) return found_closed(*line, ENOTCONN);
  const std::int64_t deadline = now_ms() + timeout_ms;
  while (wait_for_events(line->fd, POLLIN, deadline)) {
    const ssize_t got = ::read(line->fd, buffer, static_cast<std::size_t>(std::max(length, 0)));
    if (got > 0) return static_cast<std::int32_t>(got);
    if (got == 0) return found_closed(*line, 0);
    if (!is_passing(errno)) return found_closed(*line, errno);
  }
  return nothing_moved;
}

std::int32_t mod_lineRecv(void* line, void* buffer, std::int32_t length) noexcept {
  auto* const self = static_cast<mod_line*>(line);
  return mod_lineRecvTimeout(self, buffer, length, self->timeout_ms);
}

std::int32_t mod_lineSend(void* line, const void* buffer, std::int32_t length) noexcept {
  auto& self = *static_cast<mod_line*>(line);
  self.is_closed = false;
  if (self.fd < 0) return found_closed(self, ENOTCONN);
  const std::int64_t deadline = now_ms() + self.timeout_ms;
  const auto* next = static_cast<const char*>(buffer);
  // A part of a frame would spoil the next one, so it is all or a failure.
  for (std::int32_t left = length; left > 0;) {
    const ssize_t sent = write_some(self, next, static_cast<std::size_t>(left));
    if (sent > 0) {
      next += sent;
      left -= static_cast<std::int32_t>(sent);
      continue;
    }
    if (sent < 0 && !is_passing(errno)) return found_closed(self, errno);
    if (!wait_for_events(self.fd, POLLOUT, deadline)) return nothing_moved;
  }
  return length;
}

std::int32_t mod_lineAsk(void* line, const void* buffer, std::int32_t length) noexcept {
  auto& self = *static_cast<mod_line*>(line);
  if (self.fd >= 0) mod_lineDrop(line);  // finds out, too, that the peer has gone meanwhile
  return mod_lineOpen(&self) == 0 ? mod_lineSend(line, buffer, length) : nothing_moved;
}

std::int32_t mod_lineDrop(void* line) noexcept {
  auto& self = *static_cast<mod_line*>(line);
  char unwanted[512];
  for (int most = 256; most > 0; --most) {  // a peer that never stops is not waited for
    if (mod_lineRecvTimeout(&self, unwanted, sizeof unwanted, 0) < 0) break;
  }
  return self.is_closed ? -1 : 0;
}

}  // namespace ruvex
