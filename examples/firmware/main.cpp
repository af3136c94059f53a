// Reads a unit file, as a controller does when it starts, and says how many points each unit has.
//
//   points FILE

#include <cstdio>

#include "ruvex/cfg/xml_reader.h"

using namespace ruvex;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto units = read_xml_unit_cfg(argv[1]);
  if (!units) return 1;  // standard error says why
  for (const unit_cfg* unit = units->get(); unit != nullptr; unit = unit->next) {
    std::printf("%s: %d points\n", unit->name.c_str(), unit->chn_count);
  }
  return 0;
}
