// The steps of a run around the reading and the writing.
#pragma once

namespace ruvex {

// Gives every standard stream that the caller closed a place (/dev/null), so that no file opened
// later takes a stream's number and receives what is printed.
void open_standard_streams() noexcept;

// Whether both paths lead to one regular file, by whatever names.
bool is_same_file(const char* csv_path, const char* xml_path) noexcept;

// Removes the file `path`, if there is one. Devices, FIFOs and sockets stay, and so does a link to
// what the run has open as a standard stream (/dev/stdout).
void remove_output(const char* path) noexcept;

// Where the output is the regular file that standard output goes to: what is printed from here on
// is put behind what is written there, not over it.
void print_behind_output(const char* path) noexcept;

// Ends a run: releases the units of modUnits, puts the signal handlers back, and logs the exit and
// the signals that have arrived before. Always 0.
int terminate_app(void);

}  // namespace ruvex
