// The mapping file, read into units and channels. The list and the last error are the process's, so
// one file is read at a time, and only one thread uses them.
#pragma once

#include "ruvex/cfg/records.h"
#include "ruvex/mapping/csv_result.h"

namespace ruvex {

// The units that the last read gave, in order; null while there are none. The program releases them
// at its end (free_units).
extern unit_cfg* modUnits;

// Releases every unit of modUnits with its channels and leaves it null.
void free_units() noexcept;

// How the last call of read_csv_file came to the end of the file: 0 when that was its end,
// otherwise the errno of the read that failed.
extern int csv_read_error;

// Reads the mapping file `path` into modUnits: units in order of their addresses, channels in order
// of their registers. The units of an earlier read are released first. A read error counts as the
// end of the file, and csv_read_error tells it. After a failure modUnits holds what was read before
// it, in order. Notices of signals are logged between lines.
//
// Returns a csv_result. Each result except csv_read has been logged at ERR, with what is wrong and
// where. Where it is csv_read, csv_read_error tells whether modUnits holds the whole file.
int read_csv_file(const char* path) noexcept;

}  // namespace ruvex
