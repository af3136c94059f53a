#pragma once

#include <string>

namespace ruvex {

// The version of the project that the program is of: "1.1.0".
extern const char project_version[];

// What --version prints: the version, and the commit that the program was built from, "with
// changes" where the sources had some that are not in it, "unknown" where no git tells.
std::string version_text();

}  // namespace ruvex
