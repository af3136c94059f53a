// Files that hold no points in a form that this program reads, as findings.
#pragma once

#include <optional>
#include <string_view>

#include "rules.h"
#include "text/file_kind.h"

namespace ruvex {

// The one finding of a file of this kind, which says what the file is and what to do; `content` is
// the file's. Nothing for a mapping, a unit file and a document.
std::optional<finding> file_finding(file_kind kind, std::string_view content);

}  // namespace ruvex
