#include "version.h"

#include "commit.h"

namespace ruvex {

const char project_version[] = RUVEX_VERSION;

std::string version_text() {
  return "ruvexctl (ruvex) " RUVEX_VERSION "\ncommit " RUVEX_COMMIT "\n";
}

}  // namespace ruvex
