// A page of HTML with the points of a file: a picture of the registers and a table for each unit.
#pragma once

#include "load.h"
#include "output.h"

namespace ruvex {

// Prints a page that needs nothing else and runs no script, for a screen and for paper. `path` is
// the file's name. What check finds stands beside its points. The page is XML, too.
void print_html(const loaded_file& file, const file_source& source, const char* path, output& out);

}  // namespace ruvex
