// The command line of `ruvexctl poll`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "command.h"
#include "expectation.h"
#include "lines.h"
#include "poll_columns.h"
#include "poll_list.h"
#include "unit_reader.h"

namespace ruvex {

struct poll_settings {
  transport_settings transport;
  bool has_format = false;  // of the line, on the command line
  reader_settings reader;
  poll_selection selection;
  unsigned long count = 1;  // 0: until interrupted
  unsigned long interval_ms = 1000;
  poll_format format = poll_format::table;
  bool is_wide = false;
  const char* expected = nullptr;
  poll_tolerance tolerance;
  const char* output = nullptr;
  bool is_plan = false;
  bool is_forced = false;
};

// Reads it. Gives the status to end with where there is nothing to do, after a complaint where
// something is wrong.
std::optional<int> read_poll_settings(int argc, char** argv, poll_settings& settings);

}  // namespace ruvex
