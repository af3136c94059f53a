// The search for the answer to a request in what a line delivers.
//
// What an answer has to be is known before it comes: its unit and function, what it repeats of the
// request, and mostly its length. Only that is taken.
#pragma once

#include <cstdint>

#include "ruvex/modbus/context.h"
#include "ruvex/modbus/message.h"

namespace ruvex {

// The answer to a request. Positions and lengths are those of a message without MBAP header.
struct wanted_answer {
  std::uint16_t tid, pid;  // MOD_TCP
  std::uint8_t head[6];    // what the answer begins with: the unit, the function code, ...
  std::uint8_t head_size;
  std::int32_t length;  // 0: open

  bool is_of(std::uint8_t unit, std::uint8_t fcn) const noexcept {
    return head[0] == unit && head[1] == fcn;
  }
};

// The answer to `mex`, whose request is `message` of `protocol`. The function code is known.
wanted_answer answer_to(std::uint8_t protocol, const mod_mex& mex,
                        const std::uint8_t* message) noexcept;

// What a byte has completed.
enum class frame_finding : std::uint8_t {
  nothing,
  answer,       // the wanted one
  exception,    // the exception response to the request
  stale,        // an answer to another question
  corrupt,      // a frame whose check or length is wrong
  out_of_step,  // a connection whose peer says something that cannot be right
};

// Takes bytes into `buffer` of a context, whose mod_rxReset begins a search. After `answer` and
// `exception` the message stands there, and `length` is its length.
frame_finding take_byte(mod_ctx& ctx, const wanted_answer& wanted, std::uint8_t byte) noexcept;

// What the end of the input has completed: an RTU frame of open length, or nothing. Where bytes are
// left over, `stale` when there is a whole response among them, otherwise `corrupt`.
frame_finding take_silence(mod_ctx& ctx, const wanted_answer& wanted) noexcept;

}  // namespace ruvex
