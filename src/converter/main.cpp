// ruvex CsvFilename XmlFilename: a Modbus point mapping becomes a unit configuration.

#include <syslog.h>

#include <cerrno>
#include <cstdio>

#include "app.h"
#include "build_stamp.h"
#include "ruvex/cfg/xml_writer.h"
#include "ruvex/converter/mapping_reader.h"
#include "ruvex/mapping/heap.h"
#include "ruvex/util/log.h"
#include "signals.h"

namespace ruvex {
namespace {

enum exit_status : int { exit_success = 0, exit_failure = 1 };

char revision_string[] = "ruvex : Rev 1.0.6";

void log_error(const char* message) {
  SysLogP(LOG_PRIORITY_ERR, "%s", message);
}

exit_status finish(exit_status status) {
  log_signals();
  terminate_app();
  return status;
}

exit_status report_failed_read(int code) {
  log_error("Unable to open/parse modbus mapping file");
  std::printf("Error %d\n", code);
  log_error("Convert CSV : FATAL ERROR : Unable to read csv file, exiting...");
  return finish(exit_failure);
}

// Part of a mapping is no mapping.
exit_status report_lost_rest() {
  log_error("Unable to read csv file, exiting.");
  return finish(exit_failure);
}

exit_status report_failed_write(const char* xml_path) {
  log_error("Unable to write xml file, exiting.");
  remove_output(xml_path);
  return finish(exit_failure);
}

exit_status convert(const char* csv_path, const char* xml_path) {
  install_signal_handlers();
  if (is_same_file(csv_path, xml_path)) {
    log_error("Input and output are the same file, exiting.");
    return finish(exit_failure);
  }
  remove_output(xml_path);
  prepare_heap(csv_path);
  if (const int code = read_csv_file(csv_path)) return report_failed_read(code);
  if (csv_read_error != 0) return report_lost_rest();
  std::fflush(stdout);  // the document may go to the same place
  print_behind_output(xml_path);
  if (write_xml_unit_cfg(modUnits, xml_path) != 0 || xml_write_error != 0) {
    return report_failed_write(xml_path);
  }
  return finish(exit_success);
}

}  // namespace
}  // namespace ruvex

int main(int argc, char** argv) {
  using namespace ruvex;
  open_standard_streams();
  ignore_signals_of_writes();  // some C libraries write the first line at once
  ::openlog(program_invocation_short_name, 0, LOG_USER);  // not every C library names it by itself
  SysLogP(LOG_PRIORITY_NOTICE, "%s : %s : %s\n", revision_string, RUVEX_BUILD_DATE,
          RUVEX_BUILD_TIME);
  if (argc != 3 && argc != 4) {
    std::puts("\nUsage: ruvex CsvFilename XmlFilename");
    return exit_failure;
  }
  return convert(argv[1], argv[2]);
}
