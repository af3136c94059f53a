// The mapping file, read into units and channels.
#pragma once

#include "cfg/records.h"

namespace ruvex {

// The units that have been read, in order; null while there are none. Whoever ends the program
// releases them (terminate_app).
extern unit_cfg* modUnits;

// Releases every unit of modUnits with its channels and leaves it null.
void free_units() noexcept;

// Results of read_csv_file. Each but csv_read has been logged at ERR with what and where.
enum csv_result : int {
  csv_read = 0,
  csv_not_examined = 1,
  csv_not_opened = 2,      // a directory included
  csv_bad_line = 3,        // a line of 1024 characters or more, or one with a NUL byte
  csv_field_too_long = 4,  // a text that its setting cannot hold
  csv_illegal_reference = 5,
  csv_too_many_channels = 6,  // more than 32767 in one unit
  csv_no_memory = 7,
};

// Reads the mapping file `path` into modUnits: units in order of their addresses, channels in order
// of their registers. Units that modUnits holds from an earlier read are released first. A read
// error counts as the end of the file. What was read before a failure stays in modUnits, in order.
// Signals are logged between lines (signals.h).
int read_csv_file(const char* path) noexcept;

}  // namespace ruvex
