// A program of a user: client CsvFilename XmlFilename converts as ruvex does.

#include <ruvex/cfg/xml_writer.h>
#include <ruvex/converter/mapping_reader.h>

#include "cfg/text.h"

int main(int argc, char** argv) {
  if (argc != 3 || ruvex::read_csv_file(argv[1]) != 0) return 1;
  const int result = ruvex::write_xml_unit_cfg(ruvex::modUnits, argv[2]);
  ruvex::free_units();
  return result + users_own;
}
