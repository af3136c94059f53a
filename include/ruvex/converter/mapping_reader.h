// The mapping file, read into units and channels.
#pragma once

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/csv_result.h"

namespace ruvex {

// The units that the last read gave, in order; null while there are none. The program releases them
// at its end (free_units).
extern unit_cfg* modUnits;

// Releases every unit of modUnits with its channels and leaves it null.
void free_units() noexcept;

// Reads the mapping file `path` into modUnits: units in order of their addresses, channels in order
// of their registers. The units of an earlier read are released first. A read error counts as the
// end of the file. After a failure modUnits holds what was read before it, in order. Notices of
// signals are logged between lines.
//
// Returns a csv_result. Each result except csv_read has been logged at ERR, with what is wrong and
// where.
int read_csv_file(const char* path) noexcept;

}  // namespace ruvex
