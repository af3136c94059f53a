#include "ruvex/modbus/transport.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace ruvex {
namespace {

// A signal is no end of input; a socket's own time-out starts anew after one.
template <class Call>
ssize_t uninterrupted(Call call) noexcept {
  ssize_t result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

void mod_bufferedInit(mod_buffered* buffered, void* handle, mod_recv_fn recv_fn,
                      mod_send_fn send_fn, mod_drop_fn drop_fn) noexcept {
  buffered->handle = handle;
  buffered->recv_fn = recv_fn;
  buffered->send_fn = send_fn;
  buffered->drop_fn = drop_fn;
  buffered->next = 0;
  buffered->end = 0;
}

void mod_bufferedClear(mod_buffered* buffered) noexcept {
  buffered->next = 0;
  buffered->end = 0;
  if (buffered->drop_fn != nullptr) buffered->drop_fn(buffered->handle);
}

std::int32_t mod_bufferedRecv(void* buffered, void* buffer, std::int32_t length) noexcept {
  auto& held = *static_cast<mod_buffered*>(buffered);
  // A byte that is there is given before more is asked for: the call below may block.
  if (held.next == held.end) {
    const std::int32_t got = held.recv_fn(held.handle, held.bytes, mod_buffer_size);
    if (got < 1) return -1;  // 0 is an end here; the codec would take it for a byte
    held.next = 0;
    held.end = std::min(got, mod_buffer_size);
  }
  const std::int32_t count = std::clamp(length, 0, held.end - held.next);
  std::memcpy(buffer, held.bytes + held.next, static_cast<std::size_t>(count));
  held.next += count;
  return count;
}

std::int32_t mod_bufferedSend(void* buffered, const void* buffer, std::int32_t length) noexcept {
  const auto& below = *static_cast<const mod_buffered*>(buffered);
  return below.send_fn(below.handle, buffer, length);
}

std::int32_t mod_bufferedAsk(void* buffered, const void* buffer, std::int32_t length) noexcept {
  mod_bufferedClear(static_cast<mod_buffered*>(buffered));
  return mod_bufferedSend(buffered, buffer, length);
}

std::int32_t mod_socketRecv(void* descriptor, void* buffer, std::int32_t length) noexcept {
  const int fd = *static_cast<const int*>(descriptor);
  const ssize_t got = uninterrupted(
      [&] { return ::recv(fd, buffer, static_cast<std::size_t>(std::max(length, 0)), 0); });
  return got < 1 ? -1 : static_cast<std::int32_t>(got);
}

// MSG_NOSIGNAL, since a library must not end its program because a peer has gone.
std::int32_t mod_socketSend(void* descriptor, const void* buffer, std::int32_t length) noexcept {
  const int fd = *static_cast<const int*>(descriptor);
  const auto* next = static_cast<const char*>(buffer);
  // A socket may take a part only, and half a frame would spoil the next one.
  for (std::int32_t left = length; left > 0;) {
    const ssize_t sent = uninterrupted(
        [&] { return ::send(fd, next, static_cast<std::size_t>(left), MSG_NOSIGNAL); });
    if (sent < 0) return -1;
    next += sent;
    left -= static_cast<std::int32_t>(sent);
  }
  return length;
}

// The end of the input is no matter of this function: the next receive tells it.
std::int32_t mod_socketDrop(void* descriptor) noexcept {
  const int fd = *static_cast<const int*>(descriptor);
  char unwanted[mod_buffer_size];
  ssize_t got = 0;
  for (int most = 256; most > 0; --most) {  // a peer that never stops is not waited for
    got = uninterrupted([&] { return ::recv(fd, unwanted, sizeof unwanted, MSG_DONTWAIT); });
    if (got < 1) break;
  }
  return got < 0 && errno != EAGAIN ? -1 : 0;
}

}  // namespace ruvex
