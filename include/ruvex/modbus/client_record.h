// The record of a client (client.h), and how its exchanges end.
#pragma once

#include <cstdint>

#include "ruvex/modbus/context.h"
#include "ruvex/modbus/line.h"

namespace ruvex {

// How an exchange has ended.
enum class mod_status : std::uint8_t {
  ok,
  refused,    // nothing was sent, since the request is none: `code` tells why
  timeout,    // nothing came
  exception,  // the device has refused: `code`
  corrupt,    // what came is no frame, or its check or its length is wrong
  stale,      // only answers to other questions came
  closed,     // there is no connection, or it was closed before the answer
};

struct mod_outcome {
  mod_status status;
  std::uint8_t code;       // with `exception` and `refused`; otherwise 0
  std::uint16_t requests;  // that were sent, retries included
};

// The first members may be read and set between two exchanges; mod_clientInit sets all.
struct mod_client {
  mod_line line;
  std::uint8_t retries;  // how often a request is repeated that has no right answer
  std::int32_t late_ms;  // serial lines: how long after its time-out an answer may still come
  // Requests, retries included, after which only damaged bytes came; a retry may have been
  // answered.
  std::uint32_t corrupt_answers;

  // The rest is the client's own.
  mod_ctx ctx;
  std::uint16_t last_tid;
  std::int64_t quiet_until;  // no request goes out before
  struct {
    std::uint8_t unit, fcn;  // of the requests whose answers have not come
    bool is_mixed;           // they are of several units or functions
    std::int32_t count;
    std::int64_t until;  // later they do not come any more
  } owed;
};

}  // namespace ruvex
