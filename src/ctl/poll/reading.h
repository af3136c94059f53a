// What reading a point has come to.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace ruvex {

enum class read_status : std::uint8_t {
  skipped,  // it was not asked for
  ok,
  timeout,
  exception,
  corrupt,
  stale,
  closed,
  differs,  // it was read, and is not what was expected
};

constexpr std::string_view read_status_texts[] = {"skipped", "ok",    "timeout", "exception",
                                                  "corrupt", "stale", "closed",  "differs"};

constexpr std::string_view text_of(read_status status) noexcept {
  return read_status_texts[static_cast<std::size_t>(status)];
}

struct reading {
  read_status status = read_status::skipped;
  std::uint8_t code = 0;        // of an exception
  std::uint16_t words[2] = {};  // of the point; meant only where it was read
  std::uint32_t ms = 0;         // from the request to its answer or its end
  std::chrono::sys_time<std::chrono::milliseconds> time = {};  // of that
};

// Whether there are words, and so a value.
constexpr bool is_read(const reading& reading) noexcept {
  return reading.status == read_status::ok || reading.status == read_status::differs;
}

// Units that are asked one after the other: those of the serial line, or of a connection.
struct asked_units {
  bool is_serial;
  std::vector<std::size_t> numbers;  // in the list of devices, in its order
};

// What the requests to a unit have come to.
struct unit_sum {
  bool has_line = false;
  std::uint32_t requests = 0;  // retries included
  std::uint32_t retries = 0;
  std::uint32_t exchanges = 0;   // a request with its retries
  std::uint32_t timeouts = 0;    // of these in which nothing came
  std::uint32_t answers = 0;     // exceptions included
  std::uint32_t corrupt = 0;     // requests after which only damaged bytes came
  std::uint32_t slowest_ms = 0;  // of the answers
  std::int8_t shift = 0;  // -1 or 1: each point is refused as an illegal address, and the register
                          // before or behind the first one answers
};

}  // namespace ruvex
