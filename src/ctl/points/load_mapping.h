// A mapping file, loaded by the converter's own reader.
#pragma once

#include <string_view>

#include "ruvex/cfg/edit.h"

namespace ruvex {

// The points of a mapping file's content, in a document without settings of its own. `path` is how
// messages call the file. Null, after a message for every line that the converter refuses.
yax_cfg_ptr load_mapping(const char* path, std::string_view content);

}  // namespace ruvex
