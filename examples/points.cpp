// Reads a mapping file into units, tells what each unit has, and writes the unit file.
//
//   points FILE NEW_FILE

#include <cstdio>
#include <utility>

#include "ruvex/cfg/edit.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/converter/mapping_reader.h"
#include "ruvex/mapping/register_place.h"

using namespace ruvex;

static void print(const unit_cfg& unit) {
  std::printf("%s %s%s%s: %d points\n", unit.type.c_str(), unit.ip_address.c_str(),
              unit.ip_address.empty() ? "" : "/", unit.address.c_str(), unit.chn_count);
  const chn_cfg* first = unit.chn_list;
  if (first == nullptr) return;  // a line of fewer than 11 fields makes its unit only
  const register_place place = place_of(first->reg_num.view());
  const std::string_view table = table_name(place.table);
  std::printf("  first: %.*s at %d, %s\n", static_cast<int>(table.size()), table.data(),
              place.offset, first->name.c_str());
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const int result = read_csv_file(argv[1]);  // what is refused is logged
  const unit_list_ptr units(std::exchange(modUnits, nullptr));
  if (result != csv_read || csv_read_error != 0) return 1;
  for (const unit_cfg* unit = units.get(); unit != nullptr; unit = unit->next) print(*unit);
  cur_tab = 0;
  return write_xml_unit_cfg(units.get(), argv[2]) == 0 && xml_write_error == 0 ? 0 : 1;
}
