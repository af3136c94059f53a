// What `ruvexctl poll` says beside the rows, on standard error: failures, hints, sums.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "bus/devices.h"
#include "poll_list.h"
#include "reading.h"

namespace ruvex {

// What was polled, and what has come of it.
struct poll_result {
  const char* path;
  const device_list& devices;
  std::span<const asked_units> lines;
  std::span<const poll_row> rows;
  std::span<const reading> readings;  // of the points, by number
  std::span<const unit_sum> sums;     // of the units of `devices`
};

// Prints a message for each point that was not read; those that follow each other in the file and
// have failed alike share one. Points that are not as expected are left to others.
void print_failures(const poll_result& result);

// Why a point was not read, in words.
std::string failure_of(const poll_row& row, const poll_result& result);

// What failures together point at.
struct poll_hint {
  const bus_unit* unit;  // null: the serial line
  std::string text;
};

std::vector<poll_hint> hints_of(const poll_result& result);

// Prints them.
void print_hints(const poll_result& result);

// Prints a line for each unit, and one for all where there are several.
void print_sums(const poll_result& result);

}  // namespace ruvex
