// A file of points, loaded as the controller will have it.
#pragma once

#include <optional>
#include <string>

#include "point_lines.h"
#include "ruvex/cfg/edit.h"
#include "text/file_kind.h"

namespace ruvex {

struct loaded_file {
  yax_cfg_ptr doc;         // never null; its units and their channels are what the file holds
  bool is_whole_document;  // false: `doc` has no settings of its own
};

// A file as it stands.
struct file_source {
  std::string content;
  file_kind kind = file_kind::empty;
  point_lines lines;  // of the points of a mapping file
};

// Loads a whole document, a unit file or a mapping file; the content tells which (kind_of). A
// mapping file is read as the converter reads it. A file without a byte has no points. `path` "-"
// is standard input. What was loaded is put into `source`, too, where that is not null.
//
// Nothing, after a message, when the file cannot be read whole, is of another kind, is no
// well-formed configuration, or goes on behind the end of its configuration. Nothing either, after
// a message for each of them, when it holds lines that ruvex refuses.
std::optional<loaded_file> load_file(const char* path, file_source* source = nullptr);

}  // namespace ruvex
