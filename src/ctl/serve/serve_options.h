// The command line of serve.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "answer.h"
#include "command.h"
#include "faults.h"
#include "journal.h"
#include "register_image.h"
#include "ruvex/cfg/records.h"
#include "ruvex/serial/format.h"
#include "values.h"

namespace ruvex {

struct serve_settings {
  std::string address = "127.0.0.1";
  int port = 1502;
  bool is_told_to_listen = false;
  std::string serial;  // path of a line, or "pty"; empty: none
  ser_format line;
  bool has_line = false;  // it was given
  answer_rules rules;
  std::size_t most_clients = 1000;
  bool ends_after_client = false;
  unit_grouping grouping = unit_grouping::number;
  const char* values = nullptr;  // null: no file of values
  value_pattern pattern = value_pattern::constant;
  std::vector<wanted_fault> faults;
  serve_format format = serve_format::text;
  bool traces = false;
};

// Reads the options; the result is that of read_options.
std::optional<int> read_serve_options(int argc, char** argv, serve_settings& settings);

// Takes the speed and the parity of a document for the serial line, unless a line was given. Where
// the document has another protocol than RTU, a complaint says what is served.
void take_line_of(const yax_cfg& doc, serve_settings& settings);

}  // namespace ruvex
