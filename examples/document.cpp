// Makes the factory document, adds a unit, writes it, reads it back and prints it.

#include <cstdio>

#include "ruvex/cfg/defaults.h"
#include "ruvex/cfg/doc_defaults.h"
#include "ruvex/cfg/tables.h"
#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"

using namespace ruvex;

// A unit of virtual points, last in the document, with one point.
static bool add_roof_sensors(yax_cfg* doc) {
  unit_cfg* unit = add_unit_cfg(doc, doc->unit_count - 1, unit_type::virtual_);
  if (unit == nullptr || !unit->name.assign("Roof Sensors")) return false;
  chn_cfg* point = add_chn_cfg(unit, 0, 0, chn_type::input_mcd_ireg, 920001);
  return point != nullptr && point->name.assign("Outdoor Temperature") &&
         point->bac_units.assign("DEGREES_CELCIUS");
}

static void print(const yax_cfg& doc) {
  std::printf("%s, %d units\n", doc.name.c_str(), doc.unit_count);
  for (const unit_cfg* unit = doc.unit_list; unit != nullptr; unit = unit->next) {
    std::printf("  %s %s: %s\n", unit->type.c_str(), unit->address.c_str(), unit->name.c_str());
    for (const chn_cfg* chn = unit->chn_list; chn != nullptr; chn = chn->next) {
      std::printf("    %s %s: %s\n", chn->instance.c_str(), chn->reg_num.c_str(),
                  chn->name.c_str());
    }
  }
}

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const char* path = argv[1];
  const yax_cfg_ptr doc(make_default_yax_cfg());
  if (doc == nullptr || !add_roof_sensors(doc.get())) return 1;
  if (write_xml_cfg(doc.get(), path) != 0 || xml_write_error != 0) return 1;
  const yax_cfg_ptr copy(read_xml_cfg(path));  // the reason of a failure is printed
  if (copy == nullptr) return 1;
  print(*copy);
  return 0;
}
