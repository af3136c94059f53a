// The lines on which units are reached, and polling them all.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "bus/devices.h"
#include "bus/locked_port.h"
#include "reading.h"
#include "ruvex/modbus/client.h"
#include "ruvex/modbus/context.h"
#include "unit_reader.h"

namespace ruvex {

struct tcp_place {
  std::string host;     // empty: none
  std::string service;  // a port
};

struct transport_settings {
  std::string serial;  // path; empty: none
  ser_format format;
  std::uint8_t protocol = MOD_RTU;  // on the serial line
  tcp_place via;                    // a gateway for the units of the serial line
  std::string service = "502";      // of Modbus/TCP units
  std::int32_t timeout_ms = 1000;
  std::uint8_t retries = 1;
};

// A serial line, or what is reached over one connection.
struct poll_line {
  tcp_place place;     // no host: the serial line
  std::size_t number;  // of its units in the list of these

  // While the line is in use.
  mod_tcp_server server;
  mod_client client;
};

class poll_lines {
 public:
  // The lines of all units that have points and can be reached; the others stand on none. Nothing
  // is opened. The arguments outlive the object.
  poll_lines(const device_list& devices, const transport_settings& settings);
  ~poll_lines();
  poll_lines(const poll_lines&) = delete;
  poll_lines& operator=(const poll_lines&) = delete;

  // The units of each line.
  const std::vector<asked_units>& units() const noexcept { return units_; }

  // Opens and locks the serial port, where a line needs it. False after a complaint.
  bool open_port();

  // Polls all units once: those of a line one after the other, lines side by side. Connections stay
  // open from one call to the next. `readings` has a place for each point by number, `sums` one for
  // each unit of the list. `watch` is called every now and then.
  void poll(const reader_settings& settings, std::span<reading> readings, std::span<unit_sum> sums,
            poll_state& state, const std::function<void()>& watch);

 private:
  void poll_one(poll_line& line, const reader_settings& settings, std::span<reading> readings,
                std::span<unit_sum> sums, poll_state& state) const;

  const device_list& devices_;
  const transport_settings& settings_;
  std::unique_ptr<locked_port> port_;
  std::vector<std::unique_ptr<poll_line>> lines_;
  std::vector<asked_units> units_;
};

}  // namespace ruvex
