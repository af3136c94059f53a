#include "line_time.h"

#include <algorithm>
#include <limits>

#include "wait.h"

namespace ruvex {
namespace {

// Adapters hand on what they receive in portions, up to 16 ms apart.
constexpr std::int64_t portions_ms = 20;

// The silence between two frames: 3.5 characters, and never less than 1.75 ms ("MODBUS over Serial
// Line V1.02", section 2.5.1.1).
std::int64_t silence_ms(const mod_client& client) noexcept {
  const bool has_silence = client.ctx.protocol == MOD_RTU && client.line.baud > 0;
  return has_silence ? std::max<std::int64_t>(time_of(client, 7) / 2 + 1, 2) : 0;
}

}  // namespace

std::int64_t time_of(const mod_client& client, std::int64_t characters) noexcept {
  const std::int32_t baud = client.line.baud;
  return baud > 0 ? (characters * 11 * 1000 + baud - 1) / baud : 0;
}

std::int64_t gap_ms(const mod_client& client) noexcept {
  return portions_ms + time_of(client, 4);
}

void be_quiet(mod_client& client, std::int64_t until) noexcept {
  client.quiet_until = std::max(client.quiet_until, until);
}

std::int32_t receive_some(mod_client& client, std::uint8_t (&bytes)[mod_buffer_size],
                          std::int64_t deadline) noexcept {
  const auto left = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(deadline - now_ms(), 0, std::numeric_limits<std::int32_t>::max()));
  const std::int32_t got = mod_lineRecvTimeout(&client.line, bytes, sizeof bytes, left);
  if (got > 0) be_quiet(client, now_ms() + silence_ms(client));
  return got;
}

void await_silence(mod_client& client) noexcept {
  std::uint8_t unwanted[mod_buffer_size];
  const std::int64_t start = std::max(now_ms(), client.quiet_until);
  const std::int64_t limit = start + std::max(client.line.timeout_ms, 0) + turnaround_ms;
  for (std::int64_t now = now_ms(); now < client.quiet_until && now < limit; now = now_ms()) {
    const std::int32_t got = receive_some(client, unwanted, client.quiet_until);
    if (got < 0 && client.line.is_closed) return;
  }
}

}  // namespace ruvex
