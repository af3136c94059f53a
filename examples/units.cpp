// Moves a Modbus/TCP device of a unit file to another IP address, and shows what a reader says of
// files that it refuses.
//
//   units FILE NEW_FILE

#include <cstdio>
#include <string_view>

#include "ruvex/cfg/xml_reader.h"
#include "ruvex/cfg/xml_writer.h"

using namespace ruvex;

static void explain(const char* file, const xml_read_report& report) {
  std::printf("%s", file);
  if (report.line != 0) std::printf(":%d", report.line);
  std::printf(": %s\n", report.reason.c_str());
}

// The number of units that have moved; -1 when the new address does not fit.
static int move_units(unit_cfg* head, std::string_view from, std::string_view to) {
  int moved = 0;
  for (unit_cfg* unit = head; unit != nullptr; unit = unit->next) {
    if (unit->ip_address != from) continue;
    if (!unit->ip_address.assign(to)) return -1;
    ++moved;
  }
  return moved;
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  xml_read_report report;
  const auto units = read_xml_unit_cfg(argv[1], &report);
  if (!units) {  // no result: refused; a result that holds null: no units
    explain(argv[1], report);
    return 1;
  }
  std::printf("%d moved\n", move_units(units->get(), "192.168.10.21", "192.168.10.40"));
  cur_tab = 0;
  if (write_xml_unit_cfg(units->get(), argv[2]) != 0 || xml_write_error != 0) return 1;

  if (!read_xml_unit_cfg("nowhere.xml", &report)) explain("nowhere.xml", report);
  constexpr std::string_view spoilt = "<unit_cfg>\n<chn_cfg>\n<reg_num>40001</reg_size>\n";
  if (!parse_xml_unit_cfg(spoilt.data(), spoilt.size(), &report)) explain("spoilt", report);
  return 0;
}
