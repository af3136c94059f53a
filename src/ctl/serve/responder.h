// What is done with a request, wherever it has come from.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <string_view>

#include "answer.h"
#include "faults.h"
#include "journal.h"
#include "register_image.h"
#include "values.h"

namespace ruvex {

// Where a request has come from.
struct requester {
  std::string_view name;  // "127.0.0.1:50123", or the path of a line
  bool is_on_line;        // a serial line, on which others answer for units that are not served
};

struct reply {
  std::size_t size = 0;  // 0: silence
  std::int32_t delay_ms = 0;
  bool is_stale = false;  // it is to look like the answer to another request
};

struct request_tally {
  std::uint64_t requests = 0;
  std::uint64_t refused = 0;  // answered with an exception, those for unknown units included
};

// Answers requests, of several threads too.
class responder {
 public:
  // The journal and the faults outlive it.
  responder(const answer_rules& rules, value_pattern pattern, const planted_faults& faults,
            journal& told) noexcept
      : rules_(rules), pattern_(pattern), faults_(faults), told_(told) {}

  // Answers a request for the unit `number`: function code and data. `answer` has room for
  // longest_pdu bytes. Number 0 of a serial line is a broadcast: all units there take a write of
  // what they have, where writes are taken, and there is no answer.
  reply respond(const station& where, std::uint8_t number, std::span<const std::uint8_t> request,
                const requester& from, std::uint8_t* answer);

  // To be read once no thread answers any more.
  const request_tally& tally() const noexcept { return tally_; }

 private:
  void take_broadcast(const station& where, const table_request& request, const requester& from);
  std::size_t answer_for(served_unit& unit, const table_request& request, std::uint8_t* answer);
  double seconds() const noexcept;

  const answer_rules rules_;
  const value_pattern pattern_;
  const planted_faults& faults_;
  journal& told_;
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  request_tally tally_;
};

}  // namespace ruvex
