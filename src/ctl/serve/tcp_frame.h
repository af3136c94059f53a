// The frames of Modbus/TCP: a header of seven bytes before each request and answer.
//
// "MODBUS Messaging on TCP/IP Implementation Guide V1.0b", section 3.1.3.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ruvex {

inline constexpr std::size_t tcp_head_size = 7;  // transaction, protocol, length, unit
inline constexpr std::size_t longest_tcp_frame = 260;

enum class tcp_frame_state : std::uint8_t {
  incomplete,
  whole,
  broken,  // nothing tells where the next frame begins
};

struct tcp_frame {
  tcp_frame_state state;
  std::size_t size;  // of a whole one, its header included
};

// The frame at the start of `bytes`.
constexpr tcp_frame tcp_frame_at(std::span<const std::uint8_t> bytes) noexcept {
  constexpr std::size_t before_unit = tcp_head_size - 1;
  if (bytes.size() >= 4 && (bytes[2] != 0 || bytes[3] != 0)) return {tcp_frame_state::broken, 0};
  if (bytes.size() < before_unit) return {tcp_frame_state::incomplete, 0};
  // The unit and a function code stand in each.
  const std::size_t told = bytes[4] * std::size_t{256} + bytes[5];
  const std::size_t size = before_unit + told;
  if (told < 2 || size > longest_tcp_frame) return {tcp_frame_state::broken, 0};
  if (bytes.size() < size) return {tcp_frame_state::incomplete, 0};
  return {tcp_frame_state::whole, size};
}

}  // namespace ruvex
