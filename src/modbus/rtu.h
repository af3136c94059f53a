// RTU frames among other bytes: of neighbours on the line, or noise.
#pragma once

#include <cstdint>

#include "ruvex/modbus/context.h"

namespace ruvex {

inline constexpr std::int32_t rtu_crc_size = 2;
// Address, function, exception code, CRC. No function code here has less than an exception, so what
// is shorter is noise.
inline constexpr std::int32_t rtu_shortest = 5;

// Whether `length` bytes are a frame whose CRC is right.
bool is_rtu_frame(const std::uint8_t* frame, std::int32_t length) noexcept;

// Puts a byte at the end of `buffer`. When the buffer is full, its older half is dropped: longer
// than that is no frame, and the line may talk without a pause.
void append_sliding(mod_ctx& ctx, std::uint8_t byte) noexcept;

// Drops the bytes in front of `start`.
void drop_front(mod_ctx& ctx, std::int32_t start) noexcept;

}  // namespace ruvex
