// The mapping file, read into units and channels.
#pragma once

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/csv_result.h"

namespace ruvex {

// The units that have been read, in order; null while there are none. Whoever ends the program
// releases them (terminate_app).
extern unit_cfg* modUnits;

// Releases every unit of modUnits with its channels and leaves it null.
void free_units() noexcept;

// Reads the mapping file `path` into modUnits: units in order of their addresses, channels in order
// of their registers. Units that modUnits holds from an earlier read are released first. A read
// error counts as the end of the file. What was read before a failure stays in modUnits, in order.
// Signals are logged between lines (signals.h).
//
// The result is a csv_result; each but csv_read has been logged at ERR with what and where.
int read_csv_file(const char* path) noexcept;

}  // namespace ruvex
