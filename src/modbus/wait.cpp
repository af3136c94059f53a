#include "wait.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

namespace ruvex {

std::int64_t now_ms() noexcept {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool wait_for_events(int fd, short events, std::int64_t deadline) noexcept {
  pollfd source = {fd, events, 0};
  for (;;) {
    const std::int64_t left = std::clamp<std::int64_t>(deadline - now_ms(), 0, INT_MAX);
    const int ready = ::poll(&source, 1, static_cast<int>(left));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

}  // namespace ruvex
