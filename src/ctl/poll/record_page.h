// The record of a commissioning: a page of HTML to be printed and signed.
#pragma once

#include <chrono>
#include <span>
#include <string>

#include "lines.h"
#include "output.h"
#include "poll_report.h"
#include "ruvex/cfg/records.h"

namespace ruvex {

struct poll_record {
  const poll_result& result;
  const yax_cfg& doc;  // what was polled, whole
  const transport_settings& transport;
  std::chrono::sys_seconds begun;
  std::string expected_path;              // empty: nothing was expected
  std::span<const std::string> expected;  // by row, where something was
  bool is_interrupted;
};

// Prints a page that needs nothing else and runs no script: how the points were read, hints, the
// registers of each unit coloured by result, each point with what was expected and what was read,
// and room for remarks and signatures. The page is XML, too.
void print_record(const poll_record& record, output& out);

}  // namespace ruvex
