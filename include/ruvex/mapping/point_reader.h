// A point line, read into a channel: what each field of a line does.
//
// The reader reports to a listener and logs nothing. Whoever reads a mapping file, to convert it or
// to look at it, reads it with this.
#pragma once

#include <cstddef>

#include "ruvex/cfg/records.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/mapping/csv_result.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"

namespace ruvex {

// What a reader tells about the line that it reads, as it comes upon it.
class point_listener {
 public:
  // The line is refused, for the sake of the field that has this number. True: the rest of the line
  // is read nevertheless, and the setting keeps its default; a file with such a line is not one
  // that can be converted. False: the reading of the line ends.
  virtual bool refused(csv_result reason, std::size_t field) noexcept = 0;

  // The description was cut to the 63 characters that its setting holds.
  virtual void description_cut() noexcept = 0;

 protected:
  ~point_listener() = default;
};

// What a line gave. The records are the reader's or the index's, and valid until the next line.
struct point_result {
  csv_result code;     // csv_read, or the first reason for which the line was refused
  const chn_cfg* chn;  // null for a line with fewer than two fields, which does nothing
  unit_cfg* unit;      // that of the line's unit field; null where it has none
  bool is_added;       // `chn` is noted in `unit`, to be linked
};

class point_reader {
 public:
  // Units and channels go into `units`, which outlives the reader.
  explicit point_reader(unit_index& units) noexcept;

  // Reads one line.
  point_result read(const mapping_line& line, point_listener& listener) noexcept;

 private:
  unit_index& units_;
  const chn_cfg defaults_;
  const enum_texts<chn_type::output_mcd_hreg + 1> chn_types_{chk_chn_type};
  const enum_texts<reg_fcn::write_registers + 1> reg_fcns_{chk_reg_fcn};
  record_ptr<chn_cfg> spare_;  // kept from a line that added nothing
};

// The settings of a channel before any field is read.
chn_cfg csv_defaults() noexcept;

}  // namespace ruvex
