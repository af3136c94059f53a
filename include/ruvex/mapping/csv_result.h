// What became of a mapping file or of one of its lines.
#pragma once

namespace ruvex {

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

}  // namespace ruvex
