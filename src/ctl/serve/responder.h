// What is done with a request, wherever it has come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string_view>

#include "answer.h"
#include "register_image.h"

namespace ruvex {

// Where a request has come from.
struct requester {
  std::string_view name;  // "127.0.0.1:50123", or the path of a line
  bool is_on_line;        // a serial line, on which others answer for units that are not served
};

struct reply {
  std::size_t size;  // 0: silence
};

struct request_tally {
  std::uint64_t requests = 0;
  std::uint64_t refused = 0;  // answered with an exception, those for unknown units included
};

// Answers requests, of several threads too.
class responder {
 public:
  explicit responder(const answer_rules& rules) noexcept : rules_(rules) {}

  // Answers a request for the unit `number`: function code and data. `answer` has room for
  // longest_pdu bytes.
  reply respond(const station& where, std::uint8_t number, std::span<const std::uint8_t> request,
                const requester& from, std::uint8_t* answer);

  const request_tally& tally() const noexcept { return tally_; }

 private:
  const answer_rules rules_;
  std::mutex mutex_;
  request_tally tally_;
};

}  // namespace ruvex
