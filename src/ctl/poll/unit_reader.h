// Reads the points of a unit.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "bus/devices.h"
#include "reading.h"
#include "requests.h"
#include "ruvex/modbus/client.h"

namespace ruvex {

struct reader_settings {
  block_limits limits;
  std::int32_t delay_ms = 0;  // before each request but the first
  bool is_traced = false;
};

// How far all lines together have come, for those who wait.
struct poll_state {
  std::atomic<std::size_t> done = 0, failed = 0;  // points
  std::atomic<const unit_cfg*> unit = nullptr;    // that was asked last
};

class unit_reader {
 public:
  // All arguments outlive the reader. `readings` has a place for each point of the file, by number;
  // those of the unit are `skipped`.
  unit_reader(mod_client& client, const reader_settings& settings, const bus_unit& unit,
              std::span<reading> readings, unit_sum& sum, poll_state& state) noexcept
      : client_(client),
        settings_(settings),
        unit_(unit),
        readings_(readings),
        sum_(sum),
        state_(state) {}

  // Reads the points, which are sorted for requests, until each is known, the unit is given up
  // because it does not answer, or the run is interrupted. What has not been asked for stays
  // `skipped`. False when the line itself is dead.
  //
  // Where a device refuses a request (exceptions 1 to 3), its points are asked for in halves until
  // those that it refuses are known. A device that is busy (5 and 6) is asked again a few times.
  bool run();

 private:
  void handle(const poll_request& request);
  mod_outcome ask(const poll_request& request);
  mod_outcome ask_while_busy(const poll_request& request);
  void take(const poll_request& request, const mod_outcome& outcome);
  void lose_patience(const mod_outcome& outcome) noexcept;
  void probe_neighbours();
  bool answers_at(std::int32_t offset);

  mod_client& client_;
  const reader_settings& settings_;
  const bus_unit& unit_;
  const std::span<reading> readings_;
  unit_sum& sum_;
  poll_state& state_;
  std::vector<poll_request> left_;  // the next one stands at the end
  std::uint16_t words_[mod_most_coils] = {};
  std::uint32_t ms_ = 0;  // of the last request
  std::chrono::sys_time<std::chrono::milliseconds> time_ = {};
  int patience_ = 0;
  bool has_answered_ = false;
  bool is_line_dead_ = false;
};

}  // namespace ruvex
