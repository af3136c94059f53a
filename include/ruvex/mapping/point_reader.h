// A point line, read into a channel.
//
// Whoever reads a mapping file, to convert it or to examine it, reads its lines with this. So what
// is examined is what is converted. The reader logs nothing; it reports to a listener.
#pragma once

#include <cstddef>

#include "ruvex/cfg/records.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/mapping/csv_result.h"
#include "ruvex/mapping/rules.h"
#include "ruvex/mapping/unit_index.h"

namespace ruvex {

// Is told what a reader finds in the line that it reads.
class point_listener {
 public:
  // The line is refused because of the field with this number: its file cannot be converted. The
  // result tells whether the rest of the line is to be read all the same; the setting of the field
  // then keeps its default. Where memory has run out the reading ends in any case.
  virtual bool refused(csv_result reason, std::size_t field) noexcept = 0;

  // The description was cut to the 63 characters that its setting holds.
  virtual void description_cut() noexcept = 0;

 protected:
  ~point_listener() = default;
};

// What a line gave. The list owns `chn` when it is added. Otherwise the reader owns it, and it is
// valid until the next line.
struct point_result {
  csv_result code;           // csv_read, or why the line was refused: the first reason, or memory
  const chn_cfg* chn;        // null for a line with fewer than two fields, and without memory
  unit_cfg* unit;            // that of the line's unit field; null where it has none
  bool is_added;             // `chn` is one of the channels of `unit`
  register_class reg_class;  // of the reference of `chn`
  bool is_bit;               // the data type marks the point as a bit of a register
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
