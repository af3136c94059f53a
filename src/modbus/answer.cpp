#include "answer.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "framing.h"
#include "layout/functions.h"
#include "rtu.h"
#include "ruvex/modbus/frame.h"

namespace ruvex {
namespace {

constexpr std::int32_t exception_size = 3;  // the unit, the function code, the exception code

// How much of its request an answer begins with.
std::size_t echoed_size(const mod_function& row) noexcept {
  constexpr std::size_t function = 2;  // the unit and the function code
  constexpr std::size_t ref = function + 2;
  constexpr std::size_t quantity = ref + 2;  // or the value written
  switch (row.response.layout) {
    case response_layout::coil:
    case response_layout::fixed:
      return quantity;
    case response_layout::quantity:
      if (row.master == master_use::writes) return quantity;
      return row.response.ref == reference::echoed ? ref : function;
    default:
      return function;
  }
}

bool has_head(const wanted_answer& wanted, const std::uint8_t* message) noexcept {
  return std::memcmp(message, wanted.head, wanted.head_size) == 0;
}

bool has_exception_head(const wanted_answer& wanted, const std::uint8_t* message) noexcept {
  return message[0] == wanted.head[0] && message[function_at] == (wanted.head[1] | exception_bit);
}

frame_finding judge(std::uint8_t protocol, const wanted_answer& wanted, const std::uint8_t* message,
                    std::int32_t length) noexcept {
  if (framing_of(protocol).has_mbap) {
    if (load_big<std::uint16_t>(message) != wanted.tid) return frame_finding::stale;
    message += mbap_size;
    length -= static_cast<std::int32_t>(mbap_size);
  }
  if (length < exception_size) return frame_finding::corrupt;
  if (has_exception_head(wanted, message)) {
    return length == exception_size ? frame_finding::exception : frame_finding::corrupt;
  }
  if (length < wanted.head_size || !has_head(wanted, message)) return frame_finding::stale;
  return wanted.length == 0 || length == wanted.length ? frame_finding::answer
                                                       : frame_finding::corrupt;
}

// Whether the header that stands in the buffer can be that of a frame.
bool is_in_step(const mod_ctx& ctx, const wanted_answer& wanted) noexcept {
  const int rest = load_big<std::uint16_t>(ctx.buffer + mbap_length_at);
  return load_big<std::uint16_t>(ctx.buffer + 2) == wanted.pid && rest >= exception_size &&
         rest <= mod_buffer_size - static_cast<int>(mbap_size);
}

frame_finding take_framed(mod_ctx& ctx, const wanted_answer& wanted, std::uint8_t byte) noexcept {
  // No frame has a ":" inside, so one begins here, whatever came before.
  if (ctx.protocol == MOD_ASCII && byte == ':') mod_rxReset(&ctx);
  if (mod_rxChar(&ctx, byte) == 0) {
    const bool is_header = framing_of(ctx.protocol).has_mbap && ctx.length == mbap_size;
    if (is_header && !is_in_step(ctx, wanted)) return frame_finding::out_of_step;
    if (ctx.length < mod_buffer_size) return frame_finding::nothing;
    mod_rxReset(&ctx);
    return frame_finding::corrupt;
  }
  const std::int32_t length = mod_rxToBin(ctx.protocol, ctx.length, ctx.buffer, ctx.buffer);
  const frame_finding found =
      length < 0 ? frame_finding::corrupt : judge(ctx.protocol, wanted, ctx.buffer, length);
  mod_rxReset(&ctx);
  if (found == frame_finding::answer || found == frame_finding::exception) ctx.length = length;
  const bool is_lost = found == frame_finding::corrupt && framing_of(ctx.protocol).has_mbap;
  return is_lost ? frame_finding::out_of_step : found;
}

// Leaves the message of the frame that begins at `start` and ends with the buffer.
frame_finding found_rtu(mod_ctx& ctx, std::int32_t start, frame_finding found) noexcept {
  drop_front(ctx, start);
  ctx.length -= rtu_crc_size;
  return found;
}

// The start of the frame of `size` that ends with the buffer; below 0 where that is none.
template <class HasHead>
std::int32_t start_of_frame(const mod_ctx& ctx, std::int32_t size, HasHead has) noexcept {
  const std::int32_t start = ctx.length - size;
  if (start < 0) return -1;
  return has(ctx.buffer + start) && is_rtu_frame(ctx.buffer + start, size) ? start : -1;
}

// Frames are looked for at every start: a neighbour's bytes, noise or an earlier answer may stand
// in front. Values of an answer that is still coming may look like an exception, and are none.
frame_finding take_rtu(mod_ctx& ctx, const wanted_answer& wanted, std::uint8_t byte) noexcept {
  append_sliding(ctx, byte);
  if (wanted.length != 0) {
    const std::int32_t start =
        start_of_frame(ctx, wanted.length + rtu_crc_size,
                       [&](const std::uint8_t* at) { return has_head(wanted, at); });
    if (start >= 0) return found_rtu(ctx, start, frame_finding::answer);
  }
  const auto begun = static_cast<std::size_t>(std::min<int>(ctx.length, wanted.head_size));
  const bool is_coming = std::memcmp(ctx.buffer, wanted.head, begun) == 0 &&
                         (wanted.length == 0 || ctx.length < wanted.length + rtu_crc_size);
  const std::int32_t start =
      start_of_frame(ctx, exception_size + rtu_crc_size,
                     [&](const std::uint8_t* at) { return has_exception_head(wanted, at); });
  if (start < 0 || is_coming) return frame_finding::nothing;
  return found_rtu(ctx, start, frame_finding::exception);
}

bool holds_response(const mod_ctx& ctx) noexcept {
  for (std::int32_t start = 0; start + rtu_shortest <= ctx.length; ++start) {
    const std::uint8_t* const frame = ctx.buffer + start;
    const std::int32_t size = response_length(frame[function_at]).of(frame);
    if (size <= ctx.length - start && is_rtu_frame(frame, size)) return true;
  }
  return false;
}

}  // namespace

wanted_answer answer_to(std::uint8_t protocol, const mod_mex& mex,
                        const std::uint8_t* message) noexcept {
  const mod_function& row = *find_function(mex.fcn);
  wanted_answer wanted = {mex.tid, mex.pid, {}, 0, 0};
  const std::size_t echoed = echoed_size(row);
  std::memcpy(wanted.head, message + (framing_of(protocol).has_mbap ? mbap_size : 0), echoed);
  wanted.head_size = static_cast<std::uint8_t>(echoed);
  if (row.response.layout == response_layout::counted) {
    const std::uint8_t byte_count = row.response.payload->byte_count(mex.count);
    wanted.head[wanted.head_size++] = byte_count;
    wanted.length = wanted.head_size + byte_count;
  } else if (row.master == master_use::writes) {
    wanted.length = wanted.head_size;
  }
  return wanted;
}

frame_finding take_byte(mod_ctx& ctx, const wanted_answer& wanted, std::uint8_t byte) noexcept {
  return ctx.protocol == MOD_RTU ? take_rtu(ctx, wanted, byte) : take_framed(ctx, wanted, byte);
}

frame_finding take_silence(mod_ctx& ctx, const wanted_answer& wanted) noexcept {
  if (ctx.length == 0) return frame_finding::nothing;
  if (ctx.protocol != MOD_RTU) return frame_finding::corrupt;
  if (wanted.length == 0) {
    for (std::int32_t size = ctx.length; size >= rtu_shortest; --size) {
      const std::int32_t start =
          start_of_frame(ctx, size, [&](const std::uint8_t* at) { return has_head(wanted, at); });
      if (start >= 0) return found_rtu(ctx, start, frame_finding::answer);
    }
  }
  return holds_response(ctx) ? frame_finding::stale : frame_finding::corrupt;
}

}  // namespace ruvex
